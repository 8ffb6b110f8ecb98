// A status report in words, for a person. No state.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace orrery::agent {

// Of what StatusReport gives; ends in a line break.
std::string StatusText(const nlohmann::ordered_json& report);

}  // namespace orrery::agent
