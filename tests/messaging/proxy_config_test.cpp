#include "messaging/proxy_config.h"

#include <gtest/gtest.h>

#include "foundation/cypher/aes_cypher.h"
#include "platform/text.h"
#include "standins/wirelink/wirelink.h"
#include "support/test_environment.h"

namespace orrery::test {
namespace {

constexpr char16_t listKey[] = u"Proxy.Default.FallbackList";
constexpr char16_t usedKey[] = u"Proxy.Default.LastProxyConfigUsed";

// "mode|proxies|user|password|PAC URL|flags", the flags being a for auto-detect and f for fallback.
std::string Describe(const IProxySetting* entry) {
    if (!entry) return "none";
    std::string text = std::to_string(entry->Mode()) + "|";
    for (const char16_t* part :
         {entry->ProxyList(), entry->Username(), entry->Password(), entry->WPADUrl()}) {
        text += (part ? ToUtf8(part) : std::string()) + "|";
    }
    return text + (entry->WPADAutoDetect() ? "a" : "") + (entry->Fallback() ? "f" : "");
}

// The entries in order, then the explicit and the WPAD proxy that are offered.
std::string Describe(CProxyConfig& config) {
    std::string text;
    config.GetProxyList()->BeginEnumeration();
    while (const IProxySetting* entry = config.GetProxyList()->NextEntry()) text += Describe(entry) + " ";
    config.GetProxyList()->EndEnumeration();
    return text + "- " + Describe(config.GetExplicitProxy()) + " " + Describe(config.GetWpadProxy());
}

struct ConfigCase {
    const char16_t* configured;  // the members of the array
    const char16_t* lastUsed;
    const char* expected;
};

const ConfigCase cases[] = {
    {u"", u"", "0|||||f - none none"},
    {u"{", u"{", "0|||||f - none none"},
    {uR"(5,[],{},{"source":"Direct"},{"source":"explicit","proxyList":1})", u"", "0|||||f - none none"},
    {uR"({"source":"explicit","proxyList":"p","user":"u","password":"w","fallback":1},
         {"source":"direct","fallback":true},{"source":"wpad","PacFileUrl":""},{"source":"wpad"})",
     u"", "1|p|u|w|| 0|||||f 2||||| 2|||||a - 1|p|u|w|| none"},
    {uR"(1,{"source":"wpad","PacFileUrl":"http://w","fallback":true})", u"",
     "2||||http://w|f - none 2||||http://w|f"},
    {uR"({"source":"explicit","proxyList":"p1;p2:8;http://p3","DeviceId":"other"},
         {"source":"explicit","proxyList":"p1","DeviceId":"OWN"})",
     u"", "1|p1:3128;p2:8;http://p3|||| 0||||| - 1|p1:3128;p2:8;http://p3|||| none"},
    // The last used one comes first, even if it is the same.
    {uR"({"source":"explicit","proxyList":"p:1"})",
     uR"({"Mode":1,"ProxyList":"p:1","Username":"u","Fallback":true})",
     "1|p:1|u|||f 1|p:1|||| - 1|p:1|u|||f none"},
    {u"", uR"({"Mode":2,"WPADUrl":"http://w"})", "2||||http://w| 0|||||f - none 2||||http://w|"},
};

class ProxyConfigTest : public testing::Test {
  protected:
    ProxyConfigTest() {
        TestEnvironment::Get().Reset();
        config.Set(u"Register.Register.DeviceId", u"own");
    }

    FakeConfigUtil& config = TestEnvironment::Get().config;
    wirelink::Wirelink wirelink;
};

TEST_F(ProxyConfigTest, BuildsTheList) {
    EXPECT_EQ(Describe(*std::make_unique<CProxyConfig>(&config, &wirelink)), "0|||||f - none none");
    for (const auto& [configured, lastUsed, expected] : cases) {
        config.Set(listKey, WideString(u"{\"ProxyConfig\":[") + configured + u"]}");
        config.Set(usedKey, lastUsed);
        CProxyConfig proxies(&config, &wirelink);
        ASSERT_TRUE(proxies.IsValid());
        EXPECT_EQ(Describe(proxies), expected);
    }
    EXPECT_FALSE(CProxyConfig(nullptr, &wirelink).IsValid());
    EXPECT_EQ(CProxyConfig(&config, nullptr).GetProxyList(), nullptr);
}

TEST_F(ProxyConfigTest, ReadsAnEncipheredList) {
    std::string sealed;
    CAESCypher().EncipherToText(R"({"ProxyConfig":[{"source":"direct"}]})", sealed);
    std::string altered = sealed;
    altered[altered.size() - 8] ^= 1;
    for (const auto& text : {sealed, altered, sealed + "=", sealed.substr(4), sealed.substr(0, 64)}) {
        config.Set(listKey, ToWide(text));
        EXPECT_EQ(Describe(*std::make_unique<CProxyConfig>(&config, &wirelink)),
                  text == sealed ? "0||||| - none none" : "0|||||f - none none");
    }
}

TEST_F(ProxyConfigTest, StoresTheUsedProxyOnlyWhenItChanged) {
    config.Set(u"Proxy.Device.DefaultPort", u"8080");
    config.Set(listKey, uR"({"ProxyConfig":[{"source":"explicit","proxyList":"p","DeviceId":"d"}]})");
    CProxyConfig proxies(&config, &wirelink);
    const IProxySetting* const used = proxies.GetExplicitProxy();
    EXPECT_FALSE(proxies.SetUsedProxy(nullptr, false));
    EXPECT_TRUE(proxies.SetUsedProxy(used, false));
    EXPECT_EQ(config.Value(usedKey),
              uR"({"Mode":1,"ProxyList":"p:8080","WPADAutoDetect":false,"Fallback":false})");
    EXPECT_FALSE(proxies.SetUsedProxy(used, false));
    config.Set(usedKey, uR"({"Mode":1,"ProxyList":"p:8080","Fallback":true})");
    EXPECT_TRUE(proxies.SetUsedProxy(used, false)) << "the fallback flag counts";
    EXPECT_TRUE(proxies.SetUsedProxy(used, true));
    EXPECT_EQ(Describe(proxies.GetUsedProxy(true)), "1|p:8080||||");
    config.FailWrites(1);
    EXPECT_FALSE(proxies.SetUsedProxy(nullptr, false));
    EXPECT_TRUE(proxies.SetUsedProxy(nullptr, false));
    EXPECT_EQ(config.Value(usedKey), std::nullopt);
}

}  // namespace
}  // namespace orrery::test
