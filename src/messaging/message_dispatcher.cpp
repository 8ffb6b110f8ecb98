#include "messaging/message_dispatcher.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

#include "foundation/settings/service_settings.h"
#include "foundation/text/numbers.h"
#include "foundation/trace.h"
#include "messaging/authorization.h"
#include "messaging/certificate_trustworthiness_config.h"
#include "messaging/proxy_config.h"

namespace orrery {

namespace {

ConfigUtil* Required(ConfigUtil* configUtil) {
    if (!configUtil) throw std::invalid_argument("configUtil");
    return configUtil;
}

bool Report(bool done, const char16_t* operation, const WideString& first, const WideString& second) {
    if (done) {
        Trace::Information("a service took what it was given", operation, first, second);
    } else {
        Trace::Error("a service refused what it was given", operation, first, second);
    }
    return done;
}

}  // namespace

// Closes its client at its end, unless that was released.
class CMessageDispatcher::OpenClient {
  public:
    OpenClient(IWirelink& wirelink, IServiceClient* client) : wirelink(wirelink), client(client) {}
    ~OpenClient() {
        if (client) wirelink.CloseServiceClient(&client);
    }
    OpenClient(const OpenClient&) = delete;
    OpenClient& operator=(const OpenClient&) = delete;

    explicit operator bool() const { return client != nullptr; }
    IServiceClient* operator->() const { return client; }
    IServiceClient* Get() const { return client; }
    IServiceClient* Release() { return std::exchange(client, nullptr); }

  private:
    IWirelink& wirelink;
    IServiceClient* client;
};

CMessageDispatcher::CMessageDispatcher(ConfigUtil* util)
    : configUtil(Required(util)), wirelink(transport.Get()) {
    if (!wirelink) throw std::logic_error("Cannot Initialize Wirelink");
}

IServiceClient* CMessageDispatcher::Open(const CServiceSettings& settings,
                                         std::initializer_list<WideView> types) const {
    const WideString deviceId = settings.DeviceId();
    if (!deviceId.empty()) return OpenFor(settings, deviceId, types);
    Trace::Error("the service has no device id");
    return nullptr;
}

IServiceClient* CMessageDispatcher::OpenFor(const CServiceSettings& settings, const WideString& id,
                                            std::initializer_list<WideView> types) const {
    if (settings.SiteId().empty()) {
        Trace::Error("the service has no site id");
        return nullptr;
    }
    const WideString type = settings.Type();
    if (std::find(types.begin(), types.end(), type) == types.end()) {
        Trace::Error("the service is of another type", type);
        return nullptr;
    }
    OpenClient client(*wirelink, Create(settings, id));
    if (client) Equip(client.Get());
    return client.Release();
}

IServiceClient* CMessageDispatcher::Create(const CServiceSettings& settings, const WideString& id) const {
    AuthorizationInfo authorization;
    if (!LoadAuthorization(configUtil, authorization, u"Services", nullptr, false)) {
        Trace::Error("the services have no credentials");
        return nullptr;
    }
    IServiceClient* client = wirelink->CreateServiceClient(
        settings.UserAgent().c_str(), settings.Hostname().c_str(), settings.Service().c_str(),
        LeadingInt32(settings.Product()), settings.ProductVersion().c_str(), id.c_str(), &authorization,
        settings.PathPrefix().c_str(), settings.SiteId().c_str());
    if (!client) Trace::Error("the transport gives no client", settings.Hostname());
    return client;
}

void CMessageDispatcher::Equip(IServiceClient* client) const {
    CProxyConfig proxies(configUtil, wirelink);
    if (proxies.IsValid()) proxies.AttachToServiceClient(client);
    const auto trust = std::make_shared<CCertificateTrustworthinessConfig>(wirelink, configUtil);
    if (trust->IsValid()) trust->ApplyToServiceClient(client);
}

bool CMessageDispatcher::UploadFile(const WideString& service, const WideString& path,
                                    const WideString& name) {
    const CServiceSettings settings(configUtil, service);
    const OpenClient client(*wirelink, Open(settings, {u"FileUpload"}));
    return client && Report(client->UploadFile(settings.Container().c_str(), name.c_str(), path.c_str()),
                            u"upload", path, name);
}

bool CMessageDispatcher::EnqueueMessage(const WideString& service, const WideString& label,
                                        const std::string& message) {
    const CServiceSettings settings(configUtil, service);
    const OpenClient client(*wirelink, Open(settings, {u"Queue"}));
    return client && Report(client->Enqueue(settings.Container().c_str(), label.c_str(), message.c_str()),
                            u"queue", service, label);
}

bool CMessageDispatcher::SendDataContainer(const WideString& service, const WideString& name,
                                           const std::string& data, const WideString& container,
                                           uint32_t version, bool last) {
    const CServiceSettings settings(configUtil, service);
    const OpenClient client(*wirelink, Open(settings, {u"DataContainer"}));
    return client && Report(client->SendDataContainer(container.c_str(), version, name.c_str(), data, last),
                            u"container", container, name);
}

IServiceClient* CMessageDispatcher::OpenDataService(const WideString& service, const WideString& id) {
    return OpenFor(CServiceSettings(configUtil, service), id, {u"GetDataById", u"SetDataById"});
}

IServiceClient* CMessageDispatcher::OpenEventHub(const WideString& service) {
    return Open(CServiceSettings(configUtil, service), {u"EventHub"});
}

}  // namespace orrery
