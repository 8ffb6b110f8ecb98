#include "messaging/proxy_config.h"

#include <algorithm>
#include <utility>

#include "foundation/cypher/aes_cypher.h"
#include "foundation/json/message_object.h"
#include "foundation/settings/registration.h"
#include "foundation/trace.h"
#include "messaging/proxy_settings_json.h"

namespace orrery {

namespace {

constexpr char16_t fallbackListKey[] = u"Proxy.Default.FallbackList";

const char16_t* UsedProxyKey(bool alternative) {
    return alternative ? u"Proxy.Default.AlternativeProxyConfigUsed" : u"Proxy.Default.LastProxyConfigUsed";
}

// The text itself if it isn't enciphered.
WideString Deciphered(const WideString& text) {
    std::string cipher;
    std::string bytes;
    WideString plain;
    const bool done =
        WideToAnsi(text, cipher) && CAESCypher().DecipherFromText(cipher, bytes) && Utf8ToWide(bytes, plain);
    return done ? plain : text;
}

WideString TextOf(const CMessageObject& object, const char16_t* key) {
    WideString text;
    if (!object.GetString(key, text)) Trace::Verbose("a proxy has no such member", key);
    return text;
}

bool IsOwnDevice(const WideString& deviceId) {
    WideString own;
    return GetRegisteredDeviceId(own) && EqualNoCase(own, deviceId);
}

}  // namespace

CProxyConfig::CProxyConfig(ConfigUtil* configUtil, IWirelink* wirelink)
    : wirelink(wirelink), configUtil(configUtil) {
    if (!wirelink || !configUtil) return;
    proxyList = wirelink->CreateProxyList();
    if (!proxyList) return;
    const bool lastUsed = AddLastUsedProxy();
    valid = AddConfiguredProxies() || proxyList->AddDirect(true) || lastUsed;
}

CProxyConfig::~CProxyConfig() {
    if (!wirelink) return;
    if (proxyList) wirelink->FreeProxyList(proxyList);
    Release(explicitProxy);
    Release(wpadProxy);
    Release(usedProxy);
}

void CProxyConfig::Release(IProxySetting*& entry) const {
    if (entry) wirelink->ReleaseProxySetting(entry);
    entry = nullptr;
}

IProxySetting* CProxyConfig::Copy(const IProxySetting& entry) const {
    return wirelink->CreateProxySetting(entry.Mode(), entry.ProxyList(), entry.Username(), entry.Password(),
                                        entry.FurtherText(), entry.WPADUrl(), entry.WPADAutoDetect(),
                                        entry.Fallback());
}

bool CProxyConfig::AddLastUsedProxy() {
    const Trace::Scope trace("CProxyConfig::AddLastUsedProxy");
    const IProxySetting* last = GetUsedProxy(false);
    if (!last) return false;
    IProxySetting* copy = Copy(*last);
    const bool added = copy && proxyList->AddEntry(copy);
    if (!added) Release(copy);
    if (last->Mode() == ProxyExplicit) explicitProxy = Copy(*last);
    if (last->Mode() == ProxyWpad) wpadProxy = Copy(*last);
    return added;
}

bool CProxyConfig::AddConfiguredProxies() {
    const WideString* text = nullptr;
    if (configUtil->GetValue(fallbackListKey, &text, 0) != 0) return false;
    CMessageObject document;
    const CMessageObject* proxies = nullptr;
    const bool isList = document.Parse(Deciphered(*text)) && document.GetArray(u"ProxyConfig", proxies);
    configUtil->ReleaseValue(&text);
    if (!isList) return false;
    bool first = true;
    bool anyAdded = false;
    for (const CMessageItem& item : proxies->items) {
        const CMessageObject* const proxy = item.AsObject();
        if (!proxy) continue;
        anyAdded |= AddConfiguredProxy(*proxy, first);
        first = false;
    }
    return anyAdded;
}

bool CProxyConfig::AddConfiguredProxy(const CMessageObject& object, bool first) {
    const Trace::Scope trace("CProxyConfig::AddConfiguredProxy");
    WideString source;
    bool fallback = false;
    object.GetString(u"source", source);
    object.GetBool(u"fallback", fallback);
    if (source == u"explicit") return AddExplicitProxy(object, fallback);
    if (source == u"direct") {
        proxyList->AddDirect(fallback);
    } else if (source == u"winhttp") {
        proxyList->AddSystem(SystemProxyWinHttp, fallback);
    } else if (source == u"ie") {
        proxyList->AddSystem(SystemProxyIe, fallback);
    } else if (source == u"wpad") {
        AddWpadProxy(object, fallback, first);
    } else {
        Trace::Error("a proxy of an unknown source was skipped", source);
        return false;
    }
    return true;
}

bool CProxyConfig::AddExplicitProxy(const CMessageObject& object, bool fallback) {
    const WideString user = TextOf(object, u"user");
    const WideString password = TextOf(object, u"password");
    WideString proxyText;
    if (!object.GetString(u"proxyList", proxyText)) {
        Trace::Error("an explicit proxy without an address was skipped");
        return false;
    }
    const WideString deviceId = TextOf(object, u"DeviceId");
    if (!deviceId.empty()) proxyText = ApplyDefaultPort(proxyText);
    if (!deviceId.empty() && IsOwnDevice(deviceId)) {
        proxyList->AddDirect(fallback);
        return true;
    }
    proxyList->AddExplicit(proxyText.c_str(), user.c_str(), password.c_str(), nullptr, fallback);
    if (!explicitProxy) {
        explicitProxy = wirelink->CreateProxySetting(ProxyExplicit, proxyText.c_str(), user.c_str(),
                                                     password.c_str(), nullptr, nullptr, false, fallback);
    }
    return true;
}

void CProxyConfig::AddWpadProxy(const CMessageObject& object, bool fallback, bool first) {
    WideString url;
    const bool hasUrl = object.GetString(u"PacFileUrl", url);
    if (hasUrl) {
        proxyList->AddPacUrl(url.c_str(), u"", u"", nullptr, nullptr, fallback);
    } else {
        Trace::Information("a wpad proxy without an address: it is discovered");
        proxyList->AddSystem(SystemProxyDiscovery, fallback);
    }
    if (!first || wpadProxy) return;
    wpadProxy = wirelink->CreateProxySetting(ProxyWpad, nullptr, nullptr, nullptr, nullptr,
                                             hasUrl ? url.c_str() : nullptr, !hasUrl, fallback);
}

WideString CProxyConfig::ApplyDefaultPort(const WideString& proxyText) const {
    const Trace::Scope trace("CProxyConfig::ApplyDefaultPort");
    WideString port;
    if (configUtil->ReadValue(u"Proxy.Device.DefaultPort", port, 0) != 0) port = u"3128";
    WideString result;
    for (size_t begin = 0; begin <= proxyText.size();) {
        const size_t end = std::min(proxyText.find(u';', begin), proxyText.size());
        const WideString piece = proxyText.substr(begin, end - begin);
        if (!result.empty()) result += u';';
        result += piece;
        if (piece.find(u':') == WideString::npos) result += u":" + port;
        begin = end + 1;
    }
    return result;
}

IProxySetting* CProxyConfig::GetUsedProxy(bool alternative) {
    const Trace::Scope trace("CProxyConfig::GetUsedProxy");
    if (!wirelink || !configUtil) return nullptr;
    Release(usedProxy);
    WideString text;
    ProxyRecord record;
    if (configUtil->ReadValue(UsedProxyKey(alternative), text, 0) == 0 && !text.empty() &&
        ReadProxyRecord(text, record)) {
        usedProxy = wirelink->CreateProxySetting(
            record.Mode, record.ProxyList.c_str(), record.Username.c_str(), record.Password.c_str(), nullptr,
            record.WPADUrl.c_str(), record.WPADAutoDetect, record.Fallback);
    }
    return usedProxy;
}

bool CProxyConfig::SetUsedProxy(const IProxySetting* entry, bool alternative) {
    const Trace::Scope trace("CProxyConfig::SetUsedProxy");
    if (!wirelink || !configUtil) return false;
    const WideString key = UsedProxyKey(alternative);
    // What was handed out before may be what is to be stored.
    IProxySetting* earlier = entry == usedProxy ? std::exchange(usedProxy, nullptr) : nullptr;
    const IProxySetting* current = GetUsedProxy(alternative);
    bool done = false;
    if (!entry) {
        done = current && configUtil->DeleteValue(key) == 0;
    } else if (!current || !current->Equal(entry) || current->Fallback() != entry->Fallback()) {
        const WideString text = WriteProxyRecord(RecordOf(*entry));
        done = !text.empty() && configUtil->WriteValue(key, text, 0) == 0;
    }
    Release(earlier);
    return done;
}

void CProxyConfig::AttachToServiceClient(IServiceClient* client) {
    if (client && proxyList) client->SetProxyList(proxyList);
}

void CProxyConfig::AttachToConnection(IConnection* connection) {
    if (connection && proxyList) connection->SetProxyList(proxyList);
}

}  // namespace orrery
