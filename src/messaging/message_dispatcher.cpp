#include "messaging/message_dispatcher.h"

#include <algorithm>
#include <memory>
#include <stdexcept>

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

// 0 for a text that doesn't begin with a digit.
int32_t ProductNumber(const WideString& text) {
    const bool isNumber = !text.empty() && text[0] >= u'0' && text[0] <= u'9';
    return isNumber ? LeadingInt32(text) : 0;
}

struct ClientCloser {
    void operator()(IServiceClient* client) const { wirelink->CloseServiceClient(&client); }
    IWirelink* wirelink = nullptr;
};

}  // namespace

// A client with the proxies and the trust that it was given. They live until the operation returns, or until
// the client is closed, if the operation does that.
struct CMessageDispatcher::OpenClient {
    std::unique_ptr<CProxyConfig> proxies;
    std::shared_ptr<CCertificateTrustworthinessConfig> trust;
    std::unique_ptr<IServiceClient, ClientCloser> client;  // goes first
};

CMessageDispatcher::CMessageDispatcher(ConfigUtil* util)
    : configUtil(Required(util)), wirelink(transport.Get()) {
    if (!wirelink) throw std::logic_error("Cannot Initialize Wirelink");
}

CMessageDispatcher::OpenClient CMessageDispatcher::Open(const CServiceSettings& settings,
                                                        std::initializer_list<WideView> types) const {
    const WideString deviceId = settings.DeviceId();
    if (!deviceId.empty()) return OpenFor(settings, deviceId, types);
    Trace::Error("the service has no device id");
    return {};
}

CMessageDispatcher::OpenClient CMessageDispatcher::OpenFor(const CServiceSettings& settings,
                                                           const WideString& id,
                                                           std::initializer_list<WideView> types) const {
    if (settings.SiteId().empty()) {
        Trace::Error("the service has no site id");
        return {};
    }
    const WideString type = settings.Type();
    if (std::find(types.begin(), types.end(), type) == types.end()) {
        Trace::Error("the service is of another type", type);
        return {};
    }
    OpenClient open;
    open.client = {Create(settings, id), {wirelink}};
    if (open.client) Equip(open);
    return open;
}

IServiceClient* CMessageDispatcher::Create(const CServiceSettings& settings, const WideString& id) const {
    AuthorizationInfo authorization;
    if (!LoadAuthorization(configUtil, authorization, u"Services", nullptr, false)) {
        Trace::Error("the services have no credentials");
        return nullptr;
    }
    IServiceClient* client = wirelink->CreateServiceClient(
        settings.UserAgent().c_str(), settings.Hostname().c_str(), settings.Service().c_str(),
        ProductNumber(settings.Product()), settings.ProductVersion().c_str(), id.c_str(), &authorization,
        settings.PathPrefix().c_str(), settings.SiteId().c_str());
    if (!client) Trace::Error("the transport gives no client", settings.Hostname());
    return client;
}

void CMessageDispatcher::Equip(OpenClient& open) const {
    open.proxies = std::make_unique<CProxyConfig>(configUtil, wirelink);
    if (open.proxies->IsValid()) open.proxies->AttachToServiceClient(open.client.get());
    open.trust = std::make_shared<CCertificateTrustworthinessConfig>(wirelink, configUtil);
    if (open.trust->IsValid()) open.trust->ApplyToServiceClient(open.client.get());
}

bool CMessageDispatcher::UploadFile(const WideString& service, const WideString& path,
                                    const WideString& name) {
    const Trace::Scope trace("CMessageDispatcher::UploadFile");
    const CServiceSettings settings(configUtil, service);
    const OpenClient open = Open(settings, {u"FileUpload"});
    return open.client &&
           Report(open.client->UploadFile(settings.Container().c_str(), name.c_str(), path.c_str()),
                  u"upload", path, name);
}

bool CMessageDispatcher::EnqueueMessage(const WideString& service, const WideString& label,
                                        const std::string& message) {
    const Trace::Scope trace("CMessageDispatcher::EnqueueMessage");
    const CServiceSettings settings(configUtil, service);
    const OpenClient open = Open(settings, {u"Queue"});
    return open.client &&
           Report(open.client->Enqueue(settings.Container().c_str(), label.c_str(), message.c_str()),
                  u"queue", service, label);
}

bool CMessageDispatcher::SendDataContainer(const WideString& service, const WideString& name,
                                           const std::string& data, const WideString& container,
                                           uint32_t version, bool last) {
    const Trace::Scope trace("CMessageDispatcher::SendDataContainer");
    const OpenClient open = Open(CServiceSettings(configUtil, service), {u"DataContainer"});
    return open.client &&
           Report(open.client->SendDataContainer(container.c_str(), version, name.c_str(), data, last),
                  u"container", container, name);
}

IServiceClient* CMessageDispatcher::OpenDataService(const WideString& service, const WideString& id) {
    const Trace::Scope trace("CMessageDispatcher::OpenDataService");
    return OpenFor(CServiceSettings(configUtil, service), id, {u"GetDataById", u"SetDataById"})
        .client.release();
}

IServiceClient* CMessageDispatcher::OpenEventHub(const WideString& service) {
    const Trace::Scope trace("CMessageDispatcher::OpenEventHub");
    return Open(CServiceSettings(configUtil, service), {u"EventHub"}).client.release();
}

}  // namespace orrery
