// The files that the module leaves for people while Register.Agent.TestMode has bit 0 set: which there are,
// and their end. Writes none and looks into none. No state; safe from any thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace orrery::agent {

struct MessageFile {
    std::string name;
    int64_t time = 0;   // of its last change, milliseconds UTC
    uint64_t size = 0;  // bytes
};

// The native path of the folder that the module writes them to, of the home that was entered; empty if it
// can't be made.
std::string MessagesFolder();
// The regular files *.log in the folder itself, oldest first.
std::vector<MessageFile> ListMessageFiles(const std::string& folder);
// Of these, those that were last changed more than 7 days before `now`, milliseconds UTC. One that can't be
// removed is left to the next time.
void RemoveOldMessages(const std::string& folder, int64_t now);

}  // namespace orrery::agent
