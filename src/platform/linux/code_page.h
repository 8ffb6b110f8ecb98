// One narrow character set and its conversions to and from wide text. Constant once made: safe from any
// thread. Which set is the system's is decided in text.cpp.
#pragma once

#include <string>
#include <string_view>

#include "contracts/wide_string.h"

namespace orrery::platform {

class CodePage {
  public:
    // A name that iconv knows. An unknown one gives a page on which every conversion fails.
    explicit CodePage(std::string characterSet) : characterSet(std::move(characterSet)) {}

    // A character that the page lacks, or half of a surrogate pair, comes out as '?'.
    bool FromWide(WideView in, std::string& out) const;
    // A malformed byte comes out as U+FFFD.
    bool ToWide(std::string_view in, WideString& out) const;

  private:
    const std::string characterSet;
};

}  // namespace orrery::platform
