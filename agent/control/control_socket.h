// The address at which an agent is asked: a socket in its home that only its owner may use. Makes and finds
// the socket; what is said over it is the server's and the client's. No state; safe from any thread.
//
// One exchange for each connection: the client sends a verb, a line break and the rest of the request, closes
// its half, and reads one JSON object until the end.
#pragma once

#include <string>

#include "agent/system/file_descriptor.h"

namespace orrery::agent {

// Both: not open on failure, and `problem` says why. The caller of the first holds the home's lock: what lies
// at the address then is of an agent that ended without removing it.
FileDescriptor ListenInHome(const std::string& home, std::string& problem);
FileDescriptor ConnectToHome(const std::string& home, std::string& problem);
void RemoveFromHome(const std::string& home);

}  // namespace orrery::agent
