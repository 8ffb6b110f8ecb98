#include "wirelink.h"

#include <utility>

#include "standins/wirelink/base/wide_text.h"
#include "standins/wirelink/http/connection.h"
#include "standins/wirelink/http/response_record.h"
#include "standins/wirelink/proxy/proxy_list.h"
#include "standins/wirelink/proxy/proxy_setting.h"
#include "standins/wirelink/services/service_client.h"
#include "standins/wirelink/trust/trust_store.h"

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

IConnection* Wirelink::CreateConnection(const char16_t* userAgent, const char16_t* url, const char16_t* verb,
                                        uint32_t) {
    return Connection::Open(Narrow(userAgent), Narrow(url), Narrow(verb), limits, proxyNotifier).release();
}

void Wirelink::DestroyConnection(IConnection* connection) {
    delete connection;
}

IServiceClient* Wirelink::CreateServiceClient(const char16_t* userAgent, const char16_t* host,
                                              const char16_t* service, int32_t product,
                                              const char16_t* productVersion, const char16_t* deviceId,
                                              const AuthorizationInfo* authorization,
                                              const char16_t* pathPrefix, const char16_t* siteId) {
    const ServiceAddress address{.userAgent = Narrow(userAgent),
                                 .host = Narrow(host),
                                 .service = Narrow(service),
                                 .product = product,
                                 .productVersion = Narrow(productVersion),
                                 .deviceId = Narrow(deviceId),
                                 .siteId = Narrow(siteId),
                                 .pathPrefix = Narrow(pathPrefix)};
    return ServiceClient::Open(address, authorization, limits, serverClock, proxyNotifier).release();
}

void Wirelink::CloseServiceClient(IServiceClient** client) {
    if (client) delete std::exchange(*client, nullptr);
}

void Wirelink::InitResponse(TransportResponse* response) {
    if (response) response->size = transportResponseSize;
}

void Wirelink::FreeResponse(TransportResponse* response) {
    if (response) EmptyResponse(*response);
}

void Wirelink::SetProxyObserver(IProxyUsedObserver* observer) {
    proxyNotifier.SetObserver(observer);
}

ITrustStore* Wirelink::CreateTrustStore() {
    return new TrustStore;
}

void Wirelink::DestroyTrustStore(ITrustStore* store) {
    delete store;
}

}  // namespace orrery::wirelink
