#include "contracts/wirelink.h"

#include <gtest/gtest.h>

#include <functional>
#include <latch>
#include <map>
#include <stdexcept>

#include "platform/text.h"
#include "standins/wirelink/proxy/proxy_notifier.h"
#include "standins/wirelink/proxy/system_proxy.h"
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
