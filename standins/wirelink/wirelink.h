// The transport object: makes and frees the objects of the transport and holds what they share. It does no
// work of theirs and doesn't own what it has handed out, but outlives it. Safe from any thread.
#pragma once

#include "contracts/wirelink.h"
#include "standins/wirelink/base/limits.h"
#include "standins/wirelink/proxy/proxy_notifier.h"
#include "standins/wirelink/services/server_clock.h"

namespace orrery::wirelink {

class Wirelink final : public IWirelink {
  public:
    explicit Wirelink(const Limits& limits = {}) : limits(limits) {}

    IProxyList* CreateProxyList() override;
    void FreeProxyList(IProxyList* list) override;
    IProxySetting* NewProxySetting() override;
    IProxySetting* CreateProxySetting(int32_t mode, const char16_t* proxyList, const char16_t* username,
                                      const char16_t* password, const char16_t* furtherText,
                                      const char16_t* wpadUrl, bool wpadAutoDetect, bool fallback) override;
    void ReleaseProxySetting(IProxySetting* entry) override;
    // Redirects are never followed and cookies never kept, whatever the flags say.
    IConnection* CreateConnection(const char16_t* userAgent, const char16_t* url, const char16_t* verb,
                                  uint32_t flags) override;
    void DestroyConnection(IConnection* connection) override;
    IServiceClient* CreateServiceClient(const char16_t* userAgent, const char16_t* host,
                                        const char16_t* service, int32_t product,
                                        const char16_t* productVersion, const char16_t* deviceId,
                                        const AuthorizationInfo* authorization, const char16_t* pathPrefix,
                                        const char16_t* siteId) override;
    void CloseServiceClient(IServiceClient** client) override;
    void InitResponse(TransportResponse* response) override;
    void FreeResponse(TransportResponse* response) override;
    void SetProxyObserver(IProxyUsedObserver* observer) override;
    ITrustStore* CreateTrustStore() override;
    void DestroyTrustStore(ITrustStore* store) override;

  private:
    const Limits limits;
    ServerClock serverClock;      // of the services; the Web API's callers keep their own
    ProxyNotifier proxyNotifier;  // synchronised by itself
};

}  // namespace orrery::wirelink
