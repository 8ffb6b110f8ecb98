// One request to the server: collects what is to be sent, signs it, tries the routes of the proxy list until
// one gets through, and keeps the reply. It never repeats a request that could have reached the server. The
// transport object outlives it. One thread at a time.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "contracts/wirelink.h"
#include "standins/wirelink/base/limits.h"
#include "standins/wirelink/http/http_exchange.h"
#include "standins/wirelink/proxy/proxy_notifier.h"
#include "standins/wirelink/proxy/proxy_routes.h"
#include "standins/wirelink/trust/trust_store.h"

namespace orrery::wirelink {

class Connection final : public IConnection {
  public:
    // Null for a URL that isn't one of http or https and for a verb that is none. A user agent that would
    // end its line is left out.
    static std::unique_ptr<Connection> Open(const std::string& userAgent, const std::string& url,
                                            const std::string& verb, const Limits& limits,
                                            ProxyNotifier& notifier);

    // A null `authorization` leaves the request unsigned. A further send takes the place of the earlier.
    uint32_t SendSigned(const char16_t* contentType, const void* data, uint32_t size, uint32_t reserved,
                        const AuthorizationInfo* authorization) override;
    // `status` is 0 if there was no whole answer. Only the body of a 2xx goes to the file, all other answers
    // leave an earlier file alone.
    uint32_t Download(const WideString& path, uint32_t& status) override;
    uint32_t Receive(TransportResponse* response) override;
    void SetProxyList(IProxyList* proxyList) override { SetProxies(EntriesOf(proxyList)); }
    // Sent under this name, also where the value is then the transport's. Left out if name or value would end
    // the line.
    void AddHeader(const char16_t* name, const char16_t* value) override;
    bool GetSentHeaders(WideString& headers) override;
    // Of an explicit list the proxy that was used; of a PAC file its answer, in the place of the list.
    bool GetProxyUsed(IProxySetting* entry) override;
    void SetTrustStore(ITrustStore* store) override { SetTrust(RulesOf(store)); }

    // The same for those inside.
    void SetProxies(std::vector<ProxyValues> entries) { proxies = std::move(entries); }
    void SetTrust(const TrustRules& rules) { request.pins = rules.PinsFor(request.url.Host()); }
    void AddHeader(const std::string& name, const std::string& value);
    // Of the last send that gave 0; null if there is none.
    const HttpReply* Reply() const { return reply ? &*reply : nullptr; }

  private:
    Connection(HttpRequest request, const Limits& limits, ProxyNotifier& notifier)
        : request(std::move(request)), limits(limits), notifier(notifier) {}

    void SetContentType(const std::string& contentType);
    bool Sign(const AuthorizationInfo& authorization);
    uint32_t Send();
    uint32_t DownloadTo(const WideString& path, uint32_t& status);
    uint32_t Exchange(uint64_t bodyLimit, const BodySink& sink, HttpReply& answer);
    void ReportProxy() const;

    HttpRequest request;
    const Limits limits;
    ProxyNotifier& notifier;
    std::vector<ProxyValues> proxies;
    std::optional<HttpReply> reply;
    std::optional<Route> routeUsed;
    std::string sentHeaders;
};

}  // namespace orrery::wirelink
