#include "messaging/proxy_config.h"

#include <gtest/gtest.h>

#include "foundation/cypher/aes_cypher.h"
#include "platform/text.h"
#include "support/test_environment.h"

namespace orrery::test {
namespace {

constexpr char16_t listKey[] = u"Proxy.Default.FallbackList";
constexpr char16_t usedKey[] = u"Proxy.Default.LastProxyConfigUsed";

struct Proxies : WirelinkTest {
    void SetConfigured(const WideString& members) {
        config.Set(listKey, u"{\"ProxyConfig\":[" + members + u"]}");
    }
};

TEST_F(Proxies, TheLastUsedComesFirstAndDirectIfNothingElse) {
    const struct {
        WideString configured, lastUsed;
        const char *list, *explicitProxy, *wpadProxy;
    } cases[] = {{u"{", u"{", "direct fallback", "none", "none"},
                 {uR"(5,[],{},{"source":"Direct"},{"source":"explicit","proxyList":1})", u"",
                  "direct fallback", "none", "none"},
                 {uR"({"source":"explicit","proxyList":"p","user":"u","password":"w","fallback":1},
             {"source":"direct","fallback":true},{"source":"wpad","PacFileUrl":""},{"source":"wpad"})",
                  u"", "explicit p u w, direct fallback, pac, pac discovered", "explicit p u w", "none"},
                 {uR"({"source":"explicit","proxyList":"p1;p2:8","DeviceId":"other","fallback":true},
             {"source":"explicit","proxyList":"p1","DeviceId":"GER\u00C4T"})",
                  u"", "explicit p1:3128;p2:8 fallback, direct", "explicit p1:3128;p2:8 fallback", "none"},
                 {uR"({"source":"explicit","proxyList":"p:1"})",
                  uR"({"Mode":1,"ProxyList":"p:1","Username":"u","Password":"w","Fallback":true})",
                  "explicit p:1 u w fallback, explicit p:1", "explicit p:1 u w fallback", "none"},
                 {uR"({"source":"wpad"})", uR"({"Mode":2,"WPADUrl":"http://w","WPADAutoDetect":true})",
                  "pac http://w discovered, pac discovered", "none", "pac http://w discovered"},
                 {uR"({"source":"winhttp","fallback":true},{"source":"ie"})", uR"({"Mode":0})",
                  "direct, explicit http=http://s:1 fallback, explicit http=http://s:1", "none", "none"}};
    ::setenv("http_proxy", "http://s:1", 1);
    config.Set(u"Register.Register.DeviceId", u"ger\u00E4t");
    for (const auto& [configured, lastUsed, list, explicitProxy, wpadProxy] : cases) {
        SetConfigured(configured);
        config.Set(usedKey, lastUsed);
        CProxyConfig proxies(&config, &wire);
        EXPECT_TRUE(proxies.IsValid());
        if (lastUsed.size() > 1) --wire.uses;  // the list's now
        EXPECT_EQ(Describe(*proxies.GetProxyList()), list);
        EXPECT_EQ(Describe(proxies.GetExplicitProxy()), explicitProxy);
        EXPECT_EQ(Describe(proxies.GetWpadProxy()), wpadProxy);
    }
    ::unsetenv("http_proxy");
}

TEST_F(Proxies, WithoutStoreTransportOrListThereAreNone) {
    CProxyConfig noStore(nullptr, &wire), noTransport(&config, nullptr);
    for (CProxyConfig* proxies : {&noStore, &noTransport})
        EXPECT_FALSE(proxies->IsValid() || proxies->GetUsedProxy(false));
    wire.knobs.makesOthers = false;
    CProxyConfig noList(&config, &wire);
    EXPECT_FALSE(noList.IsValid() || noList.GetProxyList());
}

TEST_F(Proxies, AnEncipheredListIsRead) {
    std::string sealed;
    const char* const own = R"({"ProxyConfig":[{"source":"explicit","proxyList":"p","DeviceId":"device"}]})";
    CAESCypher().EncipherToText(own, sealed);
    std::string altered = sealed;
    altered[altered.size() - 8] ^= 1;
    for (const auto& text : {sealed, altered, sealed.substr(4), sealed.substr(0, 64)}) {
        config.Set(listKey, ToWide(text));
        EXPECT_EQ(Describe(*CProxyConfig(&config, &wire).GetProxyList()),
                  text == sealed ? "direct" : "direct fallback");
    }
}

TEST_F(Proxies, TheUsedProxyIsStoredOnlyWhenItChanged) {
    config.Set(u"Proxy.Device.DefaultPort", u"8080");
    SetConfigured(uR"({"source":"explicit","proxyList":"p","user":"u","password":"w","DeviceId":"d"})");
    CProxyConfig proxies(&config, &wire);
    const IProxySetting* const used = proxies.GetExplicitProxy();
    EXPECT_TRUE(proxies.SetUsedProxy(used, false));
    const WideString stored =
        uR"({"Mode":1,"ProxyList":"p:8080","Username":"u","Password":"w","WPADAutoDetect":false,"Fallback":false})";
    EXPECT_EQ(config.Value(usedKey), stored);
    EXPECT_FALSE(proxies.SetUsedProxy(used, false));
    EXPECT_TRUE(proxies.SetUsedProxy(proxies.GetUsedProxy(false), true)) << "the one handed out last";
    EXPECT_EQ(config.Value(u"Proxy.Default.AlternativeProxyConfigUsed"), stored);
    EXPECT_EQ(Describe(proxies.GetUsedProxy(true)), "explicit p:8080 u w");
    config.Set(usedKey, uR"({"Mode":1,"ProxyList":"p:8080","Username":"u","Password":"w","Fallback":true})");
    EXPECT_TRUE(proxies.SetUsedProxy(used, false));
    config.failsNextWrite = true;
    EXPECT_FALSE(proxies.SetUsedProxy(nullptr, false));
    EXPECT_TRUE(proxies.SetUsedProxy(nullptr, false));
    EXPECT_EQ(config.Value(usedKey), std::nullopt);
}

}  // namespace
}  // namespace orrery::test
