// orrery-hub: the development server as a program.
#include <sys/resource.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>

#include "hub/command_line/command_line.h"

namespace {

using namespace orrery::hub;

// A thousand devices need more descriptors than many shells allow by default.
void AllowManyConnections() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

// Whoever waits for the file finds it whole.
void WritePortFile(const std::string& path, uint16_t port) {
    const std::string temporary = path + ".new";
    std::ofstream file(temporary);
    file << port << '\n';
    file.close();
    std::error_code failed;
    if (file) std::filesystem::rename(temporary, path, failed);
    if (!file || failed) throw std::runtime_error("can't write the port file " + path);
}

void WriteLog(const std::string& line) {
    std::cerr << line + '\n';
}

void Announce(const HubOptions& options, uint16_t port) {
    const bool bare = options.address.find(':') != std::string::npos;
    std::cout << "listening on " << (bare ? "[" + options.address + "]" : options.address) << ':' << port
              << std::endl;
}

int Serve(const CommandLine& commandLine) try {
    HubServer server(commandLine.server, commandLine.quiet ? LogLine() : WriteLog);
    server.StopOnSignals();
    if (!commandLine.portFile.empty()) WritePortFile(commandLine.portFile, server.Port());
    Announce(commandLine.server, server.Port());
    server.Run();
    return 0;
} catch (const std::runtime_error& failed) {
    std::cerr << "orrery-hub: " << failed.what() << '\n';
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    CommandLine commandLine;
    const int exitCode = ReadCommandLine(argc, argv, commandLine);
    if (exitCode >= 0) return exitCode;
    AllowManyConnections();
    return Serve(commandLine);
}
