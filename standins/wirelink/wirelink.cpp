#include "wirelink.h"

#include <utility>

#include "proxy_list.h"
#include "proxy_setting.h"

namespace orrery::wirelink {

IProxyList* Wirelink::CreateProxyList() {
    return new ProxyList;
}

void Wirelink::FreeProxyList(IProxyList* list) {
    delete list;
}

IProxySetting* Wirelink::NewProxySetting() {
    return new ProxySetting;
}

IProxySetting* Wirelink::CreateProxySetting(int32_t mode, const char16_t* proxyList, const char16_t* username,
                                            const char16_t* password, const char16_t* furtherText,
                                            const char16_t* wpadUrl, bool wpadAutoDetect, bool fallback) {
    return new ProxySetting(ProxyValues{mode, TextOrEmpty(proxyList), TextOrEmpty(username),
                                        TextOrEmpty(password), TextOrEmpty(furtherText), TextOrEmpty(wpadUrl),
                                        wpadAutoDetect, fallback});
}

void Wirelink::ReleaseProxySetting(IProxySetting* entry) {
    delete entry;
}

IConnection* Wirelink::CreateConnection(const char16_t*, const char16_t*, const char16_t*, uint32_t) {
    return nullptr;
}

void Wirelink::DestroyConnection(IConnection* connection) {
    delete connection;
}

IServiceClient* Wirelink::CreateServiceClient(const char16_t*, const char16_t*, const char16_t*, int32_t,
                                              const char16_t*, const char16_t*, const AuthorizationInfo*,
                                              const char16_t*, const char16_t*) {
    return nullptr;
}

void Wirelink::CloseServiceClient(IServiceClient** client) {
    if (client) delete std::exchange(*client, nullptr);
}

void Wirelink::InitResponse(TransportResponse*) {}

void Wirelink::FreeResponse(TransportResponse*) {}

void Wirelink::SetProxyObserver(IProxyUsedObserver* observer) {
    proxyNotifier.SetObserver(observer);
}

ITrustStore* Wirelink::CreateTrustStore() {
    return nullptr;
}

void Wirelink::DestroyTrustStore(ITrustStore* store) {
    delete store;
}

}  // namespace orrery::wirelink
