// The server: one port for CommandHub and HTTP, with or without TLS. The whole of it, every connection
// included, runs on the one thread that calls Run, so that nothing in here is locked; only Stop may come from
// elsewhere.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "hub/base/log_line.h"

namespace orrery::hub {

struct HubOptions {
    std::string address = "127.0.0.1";
    uint16_t port = 8600;  // 0: any free one
    std::string path = "/commandhub";
    std::string tlsCertificate{};               // PEM chain; empty: no TLS
    std::string tlsKey{};                       // PEM; empty: in the file of the certificate
    uint32_t keepAliveSeconds = 120;            // between the server's keep-alive frames; 0: none
    std::string secret = "orrery-development";  // of every device's signature; UTF-8
    int64_t clockOffset = 0;                    // seconds between the system's clock and the hub's
};

class HubServer {
  public:
    // Listens when it returns. Throws std::runtime_error with a line for the user if it can't.
    HubServer(HubOptions options, const LogLine& log);
    ~HubServer();
    HubServer(const HubServer&) = delete;
    HubServer& operator=(const HubServer&) = delete;

    uint16_t Port() const;
    // SIGINT and SIGTERM stop the server from now on.
    void StopOnSignals();
    // Returns after Stop. The devices are told goodbye, the rest is cut off within half a second.
    void Run();
    // Any thread, any number of times.
    void Stop();

  private:
    struct Impl;
    std::unique_ptr<Impl> impl;
};

}  // namespace orrery::hub
