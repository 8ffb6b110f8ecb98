// What is settled about the text of a document before the library reads it, because the library takes what we
// refuse, or reads what it takes wrongly. Says nothing about whether the text is well formed otherwise. No
// state.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace orrery {

// Whether brackets nest deeper than `mostDepth`: a few megabytes of brackets would make the library build a
// tree of hundreds of megabytes. Or whether a comma stands before a closing bracket.
bool IsRefused(std::string_view text, size_t mostDepth);

// Whether a character beyond the basic plane may be written by escapes. The library gets most planes wrong
// then, and all of them right where they are written as they are.
bool HasEscapedSurrogate(std::string_view text);
// Writes such characters as they are. Half a pair stays as it is.
std::string WithoutEscapedPairs(std::string_view text);

}  // namespace orrery
