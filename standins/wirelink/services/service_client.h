// A client of one service: makes the request of each operation, as docs/transport.md tells them, and reads
// the answer. It keeps copies of all that it was made with and no connection between operations; the
// transport object outlives it. One thread at a time, which waits.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "standins/wirelink/http/connection.h"
#include "standins/wirelink/services/server_clock.h"

namespace orrery::wirelink {

// What a client is made with. Texts are UTF-8.
struct ServiceAddress {
    std::string userAgent;
    std::string host;  // `host`, `host:port` or a URL without a path
    std::string service;
    int32_t product = 0;
    std::string productVersion;
    std::string deviceId;
    std::string siteId;
    std::string pathPrefix;
};

class ServiceClient final : public IServiceClient {
  public:
    // Null if the address gives no URL. No `authorization`: unsigned requests.
    static std::unique_ptr<ServiceClient> Open(const ServiceAddress& address,
                                               const AuthorizationInfo* authorization, const Limits& limits,
                                               ServerClock& clock, ProxyNotifier& notifier);

    void SetProxyList(IProxyList* proxyList) override { proxies = EntriesOf(proxyList); }
    // Reads the file whole, up to 256 MiB.
    bool UploadFile(const char16_t* container, const char16_t* name, const char16_t* path) override;
    bool Enqueue(const char16_t* container, const char16_t* label, const char* message) override;
    // On false tag and data are untouched; an answer without a tag leaves it so on true as well.
    bool GetDataById(const char16_t* id, char16_t* tag, void* data, uint32_t& size,
                     uint32_t& status) override;
    bool SetDataById(const char16_t* id, char16_t* tag, const char* body, uint32_t& status) override;
    bool SendDataContainer(const char16_t* container, uint32_t version, const char16_t* name,
                           const std::string& data, bool last) override;
    void SetTrustStore(ITrustStore* store) override { trust = RulesOf(store); }

  private:
    // One request. A segment that is empty, "." or ".." names nothing: no request is made.
    struct Operation {
        const char* verb;
        std::vector<std::string> path;
        const char* contentType;
        std::string body;
        HeaderList headers;
    };

    ServiceClient(const ServiceAddress& address, const AuthorizationInfo* authorization, const Limits& limits,
                  ServerClock& clock, ProxyNotifier& notifier);
    // None without a whole answer.
    std::optional<HttpReply> Perform(const Operation& operation) const noexcept;
    std::optional<HttpReply> Request(const Operation& operation) const;
    void Send(Connection& connection, const Operation& operation) const;
    bool Succeeds(const Operation& operation) const;

    const std::string userAgent;
    const HeaderList commonHeaders;
    const std::optional<AuthorizationInfo> authorization;
    const Limits limits;
    ServerClock& clock;
    ProxyNotifier& notifier;
    std::string baseUrl;
    std::vector<ProxyValues> proxies;
    TrustRules trust;
};

}  // namespace orrery::wirelink
