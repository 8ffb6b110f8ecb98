#include "contracts/wirelink.h"

#include <gtest/gtest.h>

#include <map>

#include "platform/text.h"
#include "standins/wirelink/proxy/proxy_routes.h"
#include "standins/wirelink/proxy/system_proxy.h"
#include "standins/wirelink/wirelink.h"

namespace orrery::wirelink {
namespace {

TEST(ProxyListTest, KeepsWhatIsAddedInItsOrder) {
    Wirelink wirelink;
    for (const char* name : {"http_proxy", "https_proxy"}) setenv(name, "e:1", 1);
    IProxyList* const list = wirelink.CreateProxyList();
    EXPECT_TRUE(list->AddDirect(true));
    EXPECT_TRUE(list->AddExplicit(u"p;q", u"user", nullptr, u"text", false));
    EXPECT_TRUE(list->AddPacUrl(u"http://pac", u"1", u"2", u"user", u"word", true));
    EXPECT_TRUE(list->AddSystem(SystemProxyWinHttp, false));
    EXPECT_TRUE(list->AddSystem(SystemProxyIe, true));
    EXPECT_TRUE(list->AddSystem(SystemProxyDiscovery, false));
    EXPECT_FALSE(list->AddSystem(0, false));
    EXPECT_TRUE(
        list->AddEntry(wirelink.CreateProxySetting(ProxyWpad, u"p", u"u", u"w", u"f", u"url", true, true)));
    EXPECT_FALSE(list->AddEntry(nullptr));
    const std::vector<ProxyValues> expected = {
        {.fallback = true},
        {ProxyExplicit, u"p;q", u"user", u"", u"text"},
        {ProxyWpad, u"", u"user", u"word", u"", u"http://pac", false, true},
        {ProxyExplicit, u"http://e:1"},
        {.mode = ProxyExplicit, .proxyList = u"http://e:1", .fallback = true},
        {.mode = ProxyWpad, .wpadAutoDetect = true},
        {ProxyWpad, u"p", u"u", u"w", u"f", u"url", true, true},
    };
    EXPECT_TRUE(EntriesOf(list) == expected);
    EXPECT_EQ(list->NextEntry(), nullptr) << "after the end";
    EXPECT_TRUE(EntriesOf(list) == expected) << "from the beginning again";
    wirelink.FreeProxyList(list);
}

TEST(ProxySettingTest, IsEqualInWhatItsModeUses) {
    const ProxyValues proxy{ProxyExplicit, u"p", u"u", u"w"}, pac{ProxyWpad, u"", u"", u"", u"", u"url"};
    const std::tuple<ProxyValues, ProxyValues, bool> cases[] = {
        {{}, {ProxyDirect, u"p", u"u"}, true},
        {{}, proxy, false},
        {proxy, {ProxyExplicit, u"p", u"u", u"w", u"f", u"url", true, true}, true},
        {proxy, {ProxyExplicit, u"q", u"u", u"w"}, false},
        {proxy, {ProxyExplicit, u"p", u"v", u"w"}, false},
        {proxy, {ProxyExplicit, u"p", u"u", u"x"}, false},
        {pac, {ProxyWpad, u"p", u"u", u"w", u"f", u"url", false, true}, true},
        {pac, {ProxyWpad, u"", u"", u"", u"", u"other"}, false},
        {pac, {ProxyWpad, u"", u"", u"", u"", u"url", true}, false},
    };
    for (const auto& [one, other, expected] : cases) {
        const ProxySetting entry(other);
        EXPECT_EQ(ProxySetting(one).Equal(&entry), expected) << ToUtf8(other.proxyList + other.wpadUrl);
    }
}

TEST(SystemProxy, IsReadFromTheEnvironment) {
    using Texts = std::map<std::string, std::string>;
    // The values as list|user|password, each followed by a blank.
    const std::pair<Texts, const char*> cases[] = {
        {{{"https_proxy", ""}, {"http_proxy", "http://"}, {"all_proxy", "a;b"}}, "|| "},
        {{{"http_proxy", "http://p:1/"}, {"HTTPS_PROXY", "https://q:2/path?x"}},
         "https=https://q:2;http=http://p:1|| "},
        {{{"http_proxy", "p:1"}, {"ALL_PROXY", "q:2"}}, "https=http://q:2;http=http://p:1|| "},
        {{{"https_proxy", "p:1"}, {"HTTPS_PROXY", "q:2"}, {"HTTP_PROXY", "r:3"}}, "https=http://p:1|| "},
        {{{"all_proxy", "http://d%5Cu%C3%A9:p%40%3a:w%zz%2@h@p:1"}}, "http://p:1|d\\u\u00e9|p@::w%zz%2@h "},
        {{{"https_proxy", "http://u:v@p:1"}, {"http_proxy", "http://q:2"}},
         "https=http://p:1|u|v http=http://q:2|| "},
    };
    for (const auto& [environment, expected] : cases) {
        const auto read = [&texts = environment](const char* name) {
            const auto found = texts.find(name);
            return found == texts.end() ? nullptr : found->second.c_str();
        };
        std::string texts;
        for (const ProxyValues& values : EnvironmentProxies(read, true)) {
            texts += ToUtf8(values.proxyList + u"|" + values.username + u"|" + values.password + u" ");
        }
        EXPECT_EQ(texts, expected);
    }
}

}  // namespace
}  // namespace orrery::wirelink
