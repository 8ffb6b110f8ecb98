// The view of the message files: a list, and the content of one. What is shown has its secrets hidden and is
// safe for a terminal. Each prints, and gives the program's exit code.
#pragma once

#include <string>

namespace orrery::agent {

// Oldest first, each with its number counted from the newest, which is 1.
int ListMessages(const std::string& folder, bool json);
// `which` is a number or a name of the list.
int ShowMessage(const std::string& folder, const std::string& which);

// What is shown of a file of these bytes.
std::string MessageView(std::string bytes);

}  // namespace orrery::agent
