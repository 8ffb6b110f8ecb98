// The HTTP transport, played by a test: it writes down what it is told and answers as the test says. One
// object plays the transport, its connections, clients and trust stores, which have no state here; lists and
// entries hold what they are given. The knobs are set while no request is under way; the rest is safe from
// any thread.
#pragma once

#include <atomic>
#include <deque>
#include <functional>
#include <optional>

#include "contracts/wirelink.h"
#include "foundation/text/time_text.h"
#include "standins/wirelink/base/wide_text.h"
#include "standins/wirelink/proxy/proxy_list.h"
#include "support/call_log.h"

namespace orrery::test {

// Of a data service. Without a tag the one that was asked with comes back.
struct DataAnswer {
    bool given = false;
    uint32_t status = 0;
    std::optional<WideString> tag = {};
    std::string data = {};
};

struct WirelinkKnobs {
    bool connects = true;        // else there are no connections
    bool makesOthers = true;     // else there are no lists, entries, stores and clients
    uint32_t sendResult = 0;     // of a signed request and of a download; on 0 `proxyUsed` was used
    uint32_t receiveResult = 0;  // on 0 all of `reply` is received
    bool takes = true;           // what a service is given, data aside
    TransportResponse reply{.size = transportResponseSize, .status = 200, .date = {}};
    wirelink::ProxyValues proxyUsed = {};
    std::deque<DataAnswer> answers = {};   // then failures without a status
    std::function<void()> onRequest = {};  // while a request is under way, no download
    std::function<void()> onProxyAsked = {};
};

// "explicit p:1 user password fallback"; what isn't set is left out.
inline std::string Describe(const IProxySetting* entry) {
    const char* const modes[] = {"direct", "explicit", "pac"};
    if (!entry) return "none";
    std::string text = modes[entry->Mode()];
    for (const char16_t* part : {entry->ProxyList(), entry->WPADUrl(), entry->Username(), entry->Password()})
        if (*part) text += " " + ToUtf8(part);
    return text + (entry->WPADAutoDetect() ? " discovered" : "") + (entry->Fallback() ? " fallback" : "");
}

// Its entries, in order, with commas between them.
inline std::string Describe(IProxyList& list) {
    std::string text;
    list.BeginEnumeration();
    while (const IProxySetting* entry = list.NextEntry())
        text += (text.empty() ? "" : ", ") + Describe(entry);
    return text;
}

struct FakeWirelink final : CallLog, IWirelink, IConnection, IServiceClient, ITrustStore {
    WirelinkKnobs knobs;
    std::atomic<IProxyUsedObserver*> observer{nullptr};
    std::atomic<int> uses{0};  // of the transport, and objects given out and not given back

    IProxyList* CreateProxyList() override {
        return knobs.makesOthers ? Give(new wirelink::ProxyList) : nullptr;
    }
    void FreeProxyList(IProxyList* list) override { TakeBack("free list", list); }
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
    void ReleaseProxySetting(IProxySetting* entry) override { TakeBack("free entry", entry); }
    IConnection* CreateConnection(const char16_t* userAgent, const char16_t* url, const char16_t* verb,
                                  uint32_t flags) override {
        Told({u"connect", userAgent, url, verb, Number(flags)});
        return knobs.connects ? Give(this) : nullptr;
    }
    void DestroyConnection(IConnection*) override { TakeBack("destroy connection"); }
    IServiceClient* CreateServiceClient(const char16_t* userAgent, const char16_t* host,
                                        const char16_t* service, int32_t product, const char16_t* version,
                                        const char16_t* deviceId, const AuthorizationInfo* by,
                                        const char16_t* prefix, const char16_t* siteId) override {
        Told({u"open", deviceId, siteId, userAgent, host, prefix, service, Number(product), version,
              Signature(*by)});
        return knobs.makesOthers ? Give(this) : nullptr;
    }
    void CloseServiceClient(IServiceClient** client) override {
        if (std::exchange(*client, nullptr)) TakeBack("close");
    }
    void InitResponse(TransportResponse* response) override {
        Note("init reply");
        Give(response)->size = transportResponseSize;
    }
    void FreeResponse(TransportResponse*) override { TakeBack("free reply"); }
    void SetProxyObserver(IProxyUsedObserver* told) override { observer = told; }
    ITrustStore* CreateTrustStore() override { return knobs.makesOthers ? Give(this) : nullptr; }
    void DestroyTrustStore(ITrustStore*) override { TakeBack("destroy store"); }

    void SetEnabled(bool enabled) override { Told({u"trust", enabled ? u"on" : u"off"}); }
    void AddTrustedCertificates(const char16_t* domain, uint32_t count,
                                const char16_t* const* certificates) override {
        WideString all;
        for (uint32_t i = 0; i < count; ++i) all += WideString(u" ") + certificates[i];
        Told({u"trust", domain + all});
    }

    void SetProxyList(IProxyList* list) override { Note("use proxies " + Describe(*list)); }
    void SetTrustStore(ITrustStore*) override { Note("use trust"); }
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
        Note("receive");
        if (knobs.receiveResult == 0) *response = knobs.reply;
        return knobs.receiveResult;
    }
    void AddHeader(const char16_t* name, const char16_t* value) override { Told({u"header", name, value}); }
    bool GetSentHeaders(WideString& headers) override {
        Note("ask headers");
        headers = u"Sent: so\r\nx-zelko-messageId: its own\r\n";
        return knobs.sendResult == 0;
    }
    bool GetProxyUsed(IProxySetting* entry) override {
        Note("ask proxy");
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

  private:
    static WideString Number(int64_t number) { return ToWide(std::to_string(number)); }
    static WideString Signature(const AuthorizationInfo& by) {
        return u"as " + by.authorizationId + u" by " + by.service + u" with " + ToWide(by.secret) +
               (by.forWebApi ? u" for the Web API" : u"");
    }
    // The texts with blanks between them.
    void Told(std::initializer_list<WideString> texts) {
        std::string line;
        for (const WideString& text : texts) line += (line.empty() ? "" : " ") + ToUtf8(text);
        Note(line);
    }
    template <class Object>
    Object* Give(Object* object) {
        ++uses;
        return object;
    }
    template <class Object = IProxyList>
    void TakeBack(const char* how, const Object* object = nullptr) {
        Note(how);
        --uses;
        delete object;
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

}  // namespace orrery::test
