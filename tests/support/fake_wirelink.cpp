#include "support/fake_wirelink.h"

#include "foundation/text/time_text.h"
#include "platform/text.h"
#include "standins/wirelink/proxy/proxy_list.h"

namespace orrery::test {

namespace {

WideString Number(uint32_t number) {
    return ToWide(std::to_string(number));
}

struct Transport final : FakeWirelink, IWirelink, IConnection, IServiceClient, ITrustStore {
    // The texts with blanks between them.
    void Told(std::initializer_list<WideString> texts) {
        std::string line;
        for (const WideString& text : texts) line += (line.empty() ? "" : " ") + ToUtf8(text);
        Note(line);
    }
    auto* Give(auto* object) {
        ++held;
        return object;
    }
    void TakeBack(const auto* object) {
        --held;
        delete object;
    }

    IProxyList* CreateProxyList() override { return Give(new wirelink::ProxyList); }
    void FreeProxyList(IProxyList* list) override { TakeBack(list); }
    IProxySetting* NewProxySetting() override { return Give(new wirelink::ProxySetting); }
    IProxySetting* CreateProxySetting(int32_t, const char16_t*, const char16_t*, const char16_t*,
                                      const char16_t*, const char16_t*, bool, bool) override {
        return NewProxySetting();
    }
    void ReleaseProxySetting(IProxySetting* entry) override { TakeBack(entry); }
    IConnection* CreateConnection(const char16_t* userAgent, const char16_t* url, const char16_t* verb,
                                  uint32_t flags) override {
        Told({u"connect", userAgent, url, verb, Number(flags)});
        return knobs.connects ? Give(this) : nullptr;
    }
    void DestroyConnection(IConnection*) override { --held; }
    IServiceClient* CreateServiceClient(const char16_t*, const char16_t*, const char16_t*, int32_t,
                                        const char16_t*, const char16_t* deviceId, const AuthorizationInfo*,
                                        const char16_t*, const char16_t*) override {
        Told({u"open", deviceId});
        return Give(this);
    }
    void CloseServiceClient(IServiceClient** client) override {
        if (*client) --held;
        *client = nullptr;
    }
    void InitResponse(TransportResponse* response) override { Give(response)->size = transportResponseSize; }
    void FreeResponse(TransportResponse*) override { --held; }
    void SetProxyObserver(IProxyUsedObserver* told) override { observer = told; }
    ITrustStore* CreateTrustStore() override { return Give(this); }
    void DestroyTrustStore(ITrustStore*) override { --held; }

    void SetEnabled(bool enabled) override { Told({u"trust", enabled ? u"on" : u"off"}); }
    void AddTrustedCertificates(const char16_t* domain, uint32_t count,
                                const char16_t* const* certificates) override {
        Told({u"trust", domain, Number(count), count > 0 ? certificates[0] : u""});
    }

    void SetProxyList(IProxyList*) override { Told({u"use proxies"}); }
    void SetTrustStore(ITrustStore*) override { Told({u"use trust"}); }
    uint32_t SendSigned(const char16_t* type, const void* data, uint32_t size, uint32_t reserved,
                        const AuthorizationInfo* by) override {
        Told({u"send", type, ToWide({static_cast<const char*>(data), size}), Number(reserved),
              Number(by->version), by->service, by->authorizationId, ToWide(by->secret),
              by->forWebApi ? u"web" : u"service", DateTimeText(by->timestamp, 'T')});
        if (knobs.onRequest) knobs.onRequest();
        return knobs.sendResult;
    }
    uint32_t Download(const WideString& path, uint32_t& status) override {
        Told({u"download", path});
        status = knobs.reply.status;
        return knobs.sendResult;
    }
    uint32_t Receive(TransportResponse* response) override {
        Told({u"receive"});
        if (knobs.receiveResult == 0) *response = knobs.reply;
        return knobs.receiveResult;
    }
    void AddHeader(const char16_t* name, const char16_t* value) override { Told({u"header", name, value}); }
    bool GetSentHeaders(WideString& headers) override {
        headers = u"Sent: so\r\n";
        return knobs.sendResult == 0;
    }
    bool GetProxyUsed(IProxySetting*) override { return knobs.sendResult == 0; }

    bool UploadFile(const char16_t*, const char16_t*, const char16_t*) override { return false; }
    bool Enqueue(const char16_t*, const char16_t*, const char*) override { return false; }
    bool SendDataContainer(const char16_t*, uint32_t, const char16_t*, const std::string&, bool) override {
        return false;
    }
    bool GetDataById(const char16_t* id, char16_t* tag, void* data, uint32_t& size,
                     uint32_t& status) override {
        Told({u"get", id, WideString(u"[") + tag + u"]"});
        if (knobs.onRequest) knobs.onRequest();
        const DataAnswer answer = Answer(tag, status);
        size = static_cast<uint32_t>(answer.data.copy(static_cast<char*>(data), size));
        return answer.given;
    }
    bool SetDataById(const char16_t* id, char16_t* tag, const char* body, uint32_t& status) override {
        Told({u"set", id, u"[" + ToWide(body) + u"]"});
        return Answer(tag, status).given;
    }
    DataAnswer Answer(char16_t* tag, uint32_t& status) {
        if (knobs.answers.empty()) knobs.answers.emplace_back();
        DataAnswer answer = std::move(knobs.answers.front());
        knobs.answers.pop_front();
        status = answer.status;
        if (answer.tag) tag[answer.tag->copy(tag, entityTagCapacity - 1)] = u'\0';
        return answer;
    }
};

Transport transport;

}  // namespace

FakeWirelink& FakeWirelink::Get() {
    return transport;
}

WirelinkTest::WirelinkTest() {
    environment.Reset();
    environment.Replace("Utils/Wirelink", "services");
    wire.knobs = {};
    wire.held = 0;
    wire.Take();
    for (const char16_t* section : {u"Communications.", u"Services."}) {
        config.Set(section + WideString(u"Authorization.AuthorizationId"), u"id");
        config.Set(section + WideString(u"Authorization.Secret"), u"secret");
    }
    config.Set(u"Communications.Defaults.Verb", u"POST");
    config.Set(u"Services.Defaults.SiteId", u"site");
    config.Set(u"Services.Defaults.Type", u"GetDataById");
    config.Set(u"Register.Register.DeviceId", u"device");
    config.Set(u"Register.Notification.NotificationId", u"n");
}

}  // namespace orrery::test

// What the library "services" looks up by name. `change` counts the uses.
extern "C" __attribute__((visibility("default"))) orrery::IWirelink* orrery_test_wirelink(int change) {
    using orrery::test::transport;
    if (transport.knobs.isThere) transport.held += change;
    return transport.knobs.isThere ? &transport : nullptr;
}
