// The command line of orrery-hub. It reads and checks texts only; whether an address or a certificate can be
// used is found out by the server.
#pragma once

#include <string>

#include "hub/server/hub_server.h"

namespace orrery::hub {

struct CommandLine {
    HubOptions server;
    std::string portFile;
    bool quiet = false;
};

// What the program exits with at once, or -1 to go on. Help has then been written to stdout, or one line
// about what is wrong to stderr.
int ReadCommandLine(int argc, char** argv, CommandLine& out);

// ADDR:PORT, an IPv6 address in brackets.
bool ReadListen(const std::string& text, HubOptions& options);

}  // namespace orrery::hub
