// What the stored proxy lists are enciphered with. Every copy of the module holds it, so it keeps a list from
// a glance at the settings, from a screenshot or a support file, and from nobody who has the module: a
// password in a list is only as safe as the settings file. Whoever enciphers a list elsewhere needs the same
// two texts, and with other ones the lists that are stored can't be read any more.
#pragma once

#include <string_view>

namespace orrery {

inline constexpr std::string_view cypherPassPhrase = "Orrery's proxy lists: hidden, no more";
inline constexpr std::string_view cypherSalt = "one list of proxies";

// The lengths are agreed with those who write lists elsewhere.
static_assert(cypherPassPhrase.size() == 37 && cypherSalt.size() == 19);

}  // namespace orrery
