// URLs as they may be shown. No state.
#pragma once

#include "contracts/wide_string.h"

namespace orrery {

// Without the user and password that may stand before its host. The URL may lack its scheme.
WideString WithoutUser(WideView url);

}  // namespace orrery
