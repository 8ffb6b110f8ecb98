#include "support/fake_wirelink.h"

#include "foundation/text/time_text.h"
#include "platform/text.h"
#include "standins/wirelink/base/wide_text.h"
#include "standins/wirelink/proxy/proxy_list.h"

namespace orrery::test {

namespace {

WideString Number(int64_t number) {
    return ToWide(std::to_string(number));
}

WideString Signature(const AuthorizationInfo& by) {
    return u"as " + by.authorizationId + u" by " + by.service + u" with " + ToWide(by.secret) +
           (by.forWebApi ? u" for the Web API" : u"");
}

struct Transport final : FakeWirelink, IWirelink, IConnection, IServiceClient, ITrustStore {
    // The texts with blanks between them.
    void Told(std::initializer_list<WideString> texts) {
        std::string line;
        for (const WideString& text : texts) line += (line.empty() ? "" : " ") + ToUtf8(text);
        Note(line);
    }
    template <class Object>
    Object* Give(Object* object) {
        ++held;
        return object;
    }
    void TakeBack(const char16_t* how, const auto* object) {
        Told({how});
        --held;
        delete object;
    }
    void TakeBack(const char16_t* how) { TakeBack(how, static_cast<int*>(nullptr)); }

    IProxyList* CreateProxyList() override {
        return knobs.makesOthers ? Give(new wirelink::ProxyList) : nullptr;
    }
    void FreeProxyList(IProxyList* list) override { TakeBack(u"free list", list); }
    IProxySetting* NewProxySetting() override {
        return knobs.makesOthers ? Give(new wirelink::ProxySetting) : nullptr;
    }
    IProxySetting* CreateProxySetting(int32_t mode, const char16_t* proxies, const char16_t* user,
                                      const char16_t* password, const char16_t* further, const char16_t* url,
                                      bool detect, bool fallback) override {
        if (!knobs.makesOthers) return nullptr;
        using wirelink::TextOrEmpty;
        return Give(
            new wirelink::ProxySetting({mode, TextOrEmpty(proxies), TextOrEmpty(user), TextOrEmpty(password),
                                        TextOrEmpty(further), TextOrEmpty(url), detect, fallback}));
    }
    void ReleaseProxySetting(IProxySetting* entry) override { TakeBack(u"free entry", entry); }
    IConnection* CreateConnection(const char16_t* userAgent, const char16_t* url, const char16_t* verb,
                                  uint32_t flags) override {
        Told({u"connect", userAgent, url, verb, Number(flags)});
        return knobs.connects ? Give(this) : nullptr;
    }
    void DestroyConnection(IConnection*) override { TakeBack(u"destroy connection"); }
    IServiceClient* CreateServiceClient(const char16_t* userAgent, const char16_t* host,
                                        const char16_t* service, int32_t product, const char16_t* version,
                                        const char16_t* deviceId, const AuthorizationInfo* by,
                                        const char16_t* prefix, const char16_t* siteId) override {
        Told({u"open", deviceId, siteId, userAgent, host, prefix, service, Number(product), version,
              Signature(*by)});
        return knobs.makesOthers ? Give(this) : nullptr;
    }
    void CloseServiceClient(IServiceClient** client) override {
        if (!*client) return;
        TakeBack(u"close");
        *client = nullptr;
    }
    void InitResponse(TransportResponse* response) override {
        Told({u"init reply"});
        Give(response)->size = transportResponseSize;
    }
    void FreeResponse(TransportResponse*) override { TakeBack(u"free reply"); }
    void SetProxyObserver(IProxyUsedObserver* told) override { observer = told; }
    ITrustStore* CreateTrustStore() override { return knobs.makesOthers ? Give(this) : nullptr; }
    void DestroyTrustStore(ITrustStore*) override { TakeBack(u"destroy store"); }

    void SetEnabled(bool enabled) override { Told({u"trust", enabled ? u"on" : u"off"}); }
    void AddTrustedCertificates(const char16_t* domain, uint32_t count,
                                const char16_t* const* certificates) override {
        WideString all;
        for (uint32_t i = 0; i < count; ++i) all += WideString(u" ") + certificates[i];
        Told({u"trust", domain + all});
    }

    void SetProxyList(IProxyList* list) override { Note("use proxies " + Describe(*list)); }
    void SetTrustStore(ITrustStore*) override { Told({u"use trust"}); }
    uint32_t SendSigned(const char16_t* type, const void* data, uint32_t size, uint32_t reserved,
                        const AuthorizationInfo* by) override {
        Told({u"send", type, ToWide({static_cast<const char*>(data), size}), Number(reserved), Signature(*by),
              u"at", DateTimeText(by->timestamp, 'T')});
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
        Told({u"ask headers"});
        headers = u"Sent: so\r\nx-zelko-messageId: its own\r\n";
        return knobs.sendResult == 0;
    }
    bool GetProxyUsed(IProxySetting* entry) override {
        Told({u"ask proxy"});
        if (knobs.onProxyAsked) knobs.onProxyAsked();
        static_cast<wirelink::ProxySetting*>(entry)->Assign(wirelink::ProxySetting(knobs.proxyUsed));
        return knobs.sendResult == 0;
    }

    bool UploadFile(const char16_t* container, const char16_t* name, const char16_t* path) override {
        Told({u"upload", container, name, path});
        return knobs.takes;
    }
    bool Enqueue(const char16_t* container, const char16_t* label, const char* message) override {
        Told({u"queue", container, label, ToWide(message)});
        return knobs.takes;
    }
    bool SendDataContainer(const char16_t* container, uint32_t version, const char16_t* name,
                           const std::string& data, bool last) override {
        Told({u"container", container, Number(version), name, ToWide(data), last ? u"last" : u"more"});
        return knobs.takes;
    }
    bool GetDataById(const char16_t* id, char16_t* tag, void* data, uint32_t& size,
                     uint32_t& status) override {
        Told({u"get", id, u"[" + WideString(tag) + u"]"});
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

IWirelink& FakeWirelink::Transport() {
    return transport;
}

std::string Describe(const IProxySetting* entry) {
    const char* const modes[] = {"direct", "explicit", "pac"};
    if (!entry) return "none";
    std::string text = modes[entry->Mode()];
    for (const char16_t* part : {entry->ProxyList(), entry->WPADUrl(), entry->Username(), entry->Password()})
        if (part && *part) text += " " + ToUtf8(part);
    return text + (entry->WPADAutoDetect() ? " discovered" : "") + (entry->Fallback() ? " fallback" : "");
}

std::string Describe(IProxyList& list) {
    std::string text;
    list.BeginEnumeration();
    while (const IProxySetting* entry = list.NextEntry())
        text += (text.empty() ? "" : ", ") + Describe(entry);
    list.EndEnumeration();
    return text;
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
