// Where the hub's log goes: to whoever made the hub.
#pragma once

#include <functional>
#include <string>

namespace orrery::hub {

// Takes one line without its end, on the server's one thread; may be empty.
using LogLine = std::function<void(const std::string& line)>;

}  // namespace orrery::hub
