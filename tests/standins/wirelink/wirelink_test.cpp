#include "contracts/wirelink.h"

#include <gtest/gtest.h>

#include <functional>
#include <latch>
#include <map>
#include <stdexcept>

#include "platform/text.h"
#include "standins/wirelink/proxy/proxy_notifier.h"
#include "standins/wirelink/proxy/system_proxy.h"
#include "standins/wirelink/wirelink.h"
#include "support/held_call.h"

namespace orrery::wirelink {
namespace {

class Observer final : public IProxyUsedObserver {
  public:
    explicit Observer(std::function<void(IProxySetting*)> onCall) : onCall(std::move(onCall)) {}
    void OnProxyUsed(IProxySetting* proxy) override { onCall(proxy); }

  private:
    const std::function<void(IProxySetting*)> onCall;
};

TEST(ProxyNotifierTest, RemovalWaitsForTheCallInFlight) {
    test::HeldCall call;
    Observer observer([&](IProxySetting*) { call.Stay(); });
    ProxyNotifier notifier;
    notifier.SetObserver(&observer);
    notifier.Report(nullptr);
    notifier.Report(nullptr);
    EXPECT_TRUE(call.IsAwaitedBy([&] { notifier.SetObserver(nullptr); }));
}

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
    for (int round = 0; round < 2; ++round) {
        std::string texts;
        EXPECT_TRUE(list->BeginEnumeration());
        while (const IProxySetting* entry = list->NextEntry()) {
            texts += std::to_string(entry->Mode());
            for (const char16_t* text : {entry->ProxyList(), entry->Username(), entry->Password(),
                                         entry->FurtherText(), entry->WPADUrl()})
                texts += "," + ToUtf8(text);
            texts +=
                std::string(entry->WPADAutoDetect() ? " auto" : "") + (entry->Fallback() ? " last; " : "; ");
        }
        EXPECT_EQ(texts,
                  "0,,,,, last; 1,p;q,user,,text,; 2,,user,word,,http://pac last; 1,http://e:1,,,,; "
                  "1,http://e:1,,,, last; 2,,,,, auto; 2,p,u,w,f,url auto last; ");
    }
    list->EndEnumeration();
    EXPECT_EQ(list->NextEntry(), nullptr);
    wirelink.FreeProxyList(list);
}

TEST(ProxySettingTest, IsEqualInWhatItsModeUses) {
    const ProxyValues direct{},
        proxy{.mode = ProxyExplicit, .proxyList = u"p", .username = u"u", .password = u"w"};
    const ProxyValues pac{.mode = ProxyWpad, .wpadUrl = u"url"};
    const auto with = [](ProxyValues values, auto member, auto value) {
        values.*member = value;
        return values;
    };
    using Values = ProxyValues;
    const std::tuple<Values, Values, bool> cases[] = {
        {direct, with(direct, &Values::proxyList, u"p"), true},
        {direct, proxy, false},
        {proxy, with(with(proxy, &Values::fallback, true), &Values::wpadUrl, u"url"), true},
        {proxy, with(proxy, &Values::proxyList, u"q"), false},
        {proxy, with(proxy, &Values::username, u"v"), false},
        {proxy, with(proxy, &Values::password, u"x"), false},
        {pac, with(pac, &Values::proxyList, u"p"), true},
        {pac, with(pac, &Values::wpadUrl, u"other"), false},
        {pac, with(pac, &Values::wpadAutoDetect, true), false},
    };
    for (const auto& [one, other, expected] : cases) {
        const ProxySetting entry(other);
        EXPECT_EQ(ProxySetting(one).Equal(&entry), expected) << one.mode << ToUtf8(other.proxyList);
        EXPECT_FALSE(entry.Equal(nullptr));
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
