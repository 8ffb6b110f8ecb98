// URLs with places to be filled: `{name}`. No state.
#pragma once

#include <map>

#include "contracts/wide_string.h"

namespace orrery {

// Fills the places whose names are in `parameters`, which compare without regard to case; the others stay.
// False, and an empty `url`, for a place without an end and for a value that is empty. Without parameters
// nothing is looked at.
bool FillPlaceholders(WideString& url, const std::map<WideString, WideString>& parameters);

// Cuts the items of the query whose places were not filled, and makes the first separator that is left a
// question mark.
void DropUnfilledQuery(WideString& url);

}  // namespace orrery
