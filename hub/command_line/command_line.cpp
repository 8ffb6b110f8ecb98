#include "hub/command_line/command_line.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <iostream>

namespace orrery::hub {
namespace {

constexpr int64_t maxClockOffset = 1'000'000'000;  // seconds; keeps the year at four digits

std::string CheckListen(const std::string& text) {
    HubOptions ignored;
    return ReadListen(text, ignored) ? "" : "ADDR:PORT is expected, not " + text;
}

std::string CheckPath(const std::string& text) {
    return text.starts_with('/') ? "" : "the path begins with a slash, unlike " + text;
}

}  // namespace

bool ReadListen(const std::string& text, HubOptions& options) {
    const size_t colon = text.rfind(':');
    if (colon == text.npos || colon == 0) return false;
    const char* end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data() + colon + 1, end, options.port);
    if (error != std::errc() || stopped != end) return false;
    options.address = text.substr(0, colon);
    if (options.address.starts_with('[') && options.address.ends_with(']'))
        options.address = options.address.substr(1, options.address.size() - 2);
    return true;
}

int ReadCommandLine(int argc, char** argv, CommandLine& out) {
    CLI::App app(
        "Development server for devices: CommandHub over WebSocket, the Web API, and an "
        "HTTP interface to both.",
        "orrery-hub");
    std::string listen = "127.0.0.1:8600";
    app.add_option("--listen", listen, "ADDR:PORT; port 0 takes a free one")
        ->capture_default_str()
        ->check(CheckListen);
    app.add_option("--port-file", out.portFile, "write the port to this file");
    app.add_option("--path", out.server.path, "path of the WebSocket")
        ->capture_default_str()
        ->check(CheckPath);
    CLI::Option* certificate = app.add_option("--tls-cert", out.server.tlsCertificate,
                                              "PEM certificate chain; the port then speaks TLS only");
    app.add_option("--tls-key", out.server.tlsKey, "PEM key, if not in the certificate's file")
        ->needs(certificate);
    app.add_option("--keep-alive", out.server.keepAliveSeconds,
                   "seconds between keep-alive frames, 0 for none")
        ->capture_default_str();
    app.add_option("--secret", out.server.secret, "what devices sign their requests with")
        ->capture_default_str();
    app.add_option("--clock-offset", out.server.clockOffset,
                   "seconds by which the hub's clock is ahead of the system's")
        ->capture_default_str()
        ->check(CLI::Range(-maxClockOffset, maxClockOffset));
    app.add_flag("--quiet", out.quiet, "no log on stderr");
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        std::cout << app.help();
        return 0;
    } catch (const CLI::ParseError& wrong) {
        std::cerr << "orrery-hub: " << wrong.what() << '\n';
        return 1;
    }
    ReadListen(listen, out.server);
    return -1;
}

}  // namespace orrery::hub
