#include "channel/socket/proxy_candidates.h"

#include <cpprest/uri.h>

#include <algorithm>
#include <exception>
#include <unordered_set>
#include <utility>

#include "foundation/text/url_text.h"
#include "foundation/trace.h"
#include "platform/auto_proxy.h"
#include "platform/text.h"

namespace orrery {

namespace {

std::string Narrow(const char16_t* text) {
    return text ? ToUtf8(text) : std::string();
}

std::string LowerCase(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

// "http=p:1" and "http=http://p:1" are "http://p:1".
void UnfoldScheme(std::string& text) {
    const size_t equals = text.find('=');
    if (equals == std::string::npos) return;
    const std::string tail = text.substr(equals + 1);
    text = tail.find("://") != std::string::npos ? tail : text.substr(0, equals) + "://" + tail;
}

// Takes off what stands before the first `separator`; false, and nothing changed, without one.
bool SplitOff(std::string& text, const std::string& separator, std::string& head) {
    const size_t at = text.find(separator);
    if (at == std::string::npos) return false;
    head = text.substr(0, at);
    text.erase(0, at + separator.size());
    return true;
}

// PAC scripts never see a WebSocket scheme.
WideString LookupUrl(const WideString& uri) {
    web::uri_builder builder(web::uri(ToUtf8(uri)));
    builder.set_scheme(builder.scheme() == "wss" ? "https" : "http");
    return ToWide(builder.to_string());
}

}  // namespace

// What has been found, in order. A candidate with credentials is never dropped: the same proxy may stand in
// the list for several users.
class ProxyCandidateCollector::Found {
  public:
    explicit Found(std::vector<ProxyCandidate>& candidates) : candidates(candidates) {}

    void Add(const ProxyCandidate& candidate) {
        if (!candidate.username.empty() || withoutUser.insert(candidate.address).second)
            candidates.push_back(candidate);
    }

  private:
    std::vector<ProxyCandidate>& candidates;
    std::unordered_set<std::string> withoutUser;  // their addresses
};

void ProxyCandidateCollector::CollectProxyCandidates(std::vector<ProxyCandidate>& candidates) const {
    const Trace::Scope trace("ProxyCandidateCollector::CollectProxyCandidates");
    Found found(candidates);
    if (proxyList && proxyList->BeginEnumeration()) {
        while (const IProxySetting* entry = proxyList->NextEntry()) {
            try {
                CollectEntry(*entry, found);
            } catch (const std::exception& failure) {
                Trace::Error("a proxy entry can't be used", entry->Mode(), failure.what());
            }
        }
        proxyList->EndEnumeration();
    }
    if (candidates.empty()) candidates.emplace_back();
}

void ProxyCandidateCollector::CollectEntry(const IProxySetting& entry, Found& found) const {
    ProxyCandidate candidate;
    candidate.username = Narrow(entry.Username());
    if (!candidate.username.empty()) candidate.password = Narrow(entry.Password());
    switch (entry.Mode()) {
        case ProxyDirect:
            found.Add(candidate);
            break;
        case ProxyExplicit: {
            const std::string list = Narrow(entry.ProxyList());
            for (size_t begin = 0; begin < list.size();) {
                const size_t end = std::min(list.find(';', begin), list.size());
                const std::string piece = list.substr(begin, end - begin);
                if (ParseProxyAddress(piece, candidate.address)) found.Add(candidate);
                begin = end + 1;
            }
            break;
        }
        case ProxyWpad: {
            const char16_t* pacUrl = entry.WPADUrl();
            std::string proxyText;
            if (!ResolveWpadProxy(pacUrl ? pacUrl : u"", proxyText)) break;
            candidate.address = web::uri(proxyText).to_string();
            found.Add(candidate);
            break;
        }
        default:
            break;
    }
}

bool ProxyCandidateCollector::ParseProxyAddress(const std::string& text, std::string& address) {
    const Trace::Scope trace("ProxyCandidateCollector::ParseProxyAddress");
    std::string host = LowerCase(text);
    UnfoldScheme(host);
    std::string scheme = "http";
    SplitOff(host, "://", scheme);
    std::string port = host;
    std::string bareHost;
    if (SplitOff(port, ":", bareHost)) {
        host = bareHost;
    } else {
        port.clear();
    }
    if (host.empty()) return false;
    web::uri_builder builder;
    builder.set_scheme(scheme).set_host(host);
    if (!port.empty()) builder.set_port(port);
    if (scheme != "http" && scheme != "https") return false;
    try {
        address = builder.to_uri().to_string();
        return true;
    } catch (const web::uri_exception&) {
        Trace::Error("a proxy address was refused", WithoutUser(ToWide(text)));
        return false;
    }
}

bool ProxyCandidateCollector::ResolveWpadProxy(const WideString& pacUrl, std::string& proxyText) const {
    const Trace::Scope trace("ProxyCandidateCollector::ResolveWpadProxy");
    WideString url = pacUrl;
    if (url.empty() &&
        !platform::DetectAutoProxyConfigUrl(platform::DetectByDhcp | platform::DetectByDns, url)) {
        Trace::Error("no PAC file was found", platform::LastAutoProxyError());
        return false;
    }
    const auto session = platform::OpenAutoProxySession();
    if (!session) {
        Trace::Error("PAC files can't be asked", platform::LastAutoProxyError());
        return false;
    }
    WideString proxy;
    if (!session->GetProxyForUrl(LookupUrl(uri), url, proxy)) {
        Trace::Error("the PAC file gave no answer", url, platform::LastAutoProxyError());
        return false;
    }
    if (proxy.empty()) {
        Trace::Information("the PAC file asks for a direct connection", url);
        return false;
    }
    proxyText = ToUtf8(proxy);
    if (!proxyText.starts_with("http://") && !proxyText.starts_with("https://"))
        proxyText = "http://" + proxyText;
    return true;
}

}  // namespace orrery
