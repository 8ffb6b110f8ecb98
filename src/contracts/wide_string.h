// The text type of the whole system: UTF-16 in 16-bit code units. Narrow text is UTF-8 unless a header
// says otherwise.
#pragma once

#include <string>
#include <string_view>

namespace orrery {

using WideString = std::u16string;
using WideView = std::u16string_view;

}  // namespace orrery
