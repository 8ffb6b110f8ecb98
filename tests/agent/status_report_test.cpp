#include "agent/status/status_report.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

namespace orrery::agent {
namespace {

using testing::HasSubstr;
using testing::Not;

TEST(StatusReport, SaysProxyAndProviderAndNoSecrets) {
    struct Case {
        WideString used, list, bind;
        const char* proxy;
        const char* provider;
    };
    const WideString deep = u"{\"NotificationProvider\":" + WideString(500'000, u'[');
    const Case cases[] = {
        {u"", u"", deep + WideString(500'000, u']') + u"}", R"({"configured":0})", "none"},
        {uR"({"Mode":1,"ProxyList":"http://me:hidden@p:1;q:2","Password":"hidden"})", u"",
         uR"({"NotificationProvider":6})", R"({"used":"http://p:1;q:2"})", "CommandHub"},
        {uR"({"Mode":2,"WPADUrl":"http://me:hidden@w/p.pac?password=veiled"})", u"",
         uR"({"NotificationProvider":2})",
         R"-({"used":"auto-configuration http://w/p.pac?password=(hidden)"})-", "DMP"},
        {u"", uR"({"ProxyConfig":[{"source":"direct"},{"password":"hidden"}]})", u"broken",
         R"({"configured":2})", "none"},
        {u"", u"1s7EIQ1fYFQXGOQGZOHsaVkd8MsSQUdCt9v6s8rP6N8R4qzkO5I2IVhNzcf7n/lB", u"", R"({"configured":1})",
         "none"},
    };
    for (const Case& item : cases) {
        const SettingsMap settings{{u"Proxy.Default.LastProxyConfigUsed", item.used},
                                   {u"Proxy.Default.FallbackList", item.list},
                                   {u"Realtime.DeviceBind.LastInfoSent", item.bind},
                                   {u"Communications.Authorization.Secret", u"hidden"},
                                   {u"Register.Register.Password", u"hidden"}};
        const nlohmann::ordered_json report = StatusReport(settings, std::nullopt, 0);
        EXPECT_EQ(report["proxy"].dump(), item.proxy);
        EXPECT_EQ(report["provider"], item.provider);
        for (const char* secret : {"hidden@", "\"hidden", "veiled"})
            EXPECT_THAT(report.dump(), Not(HasSubstr(secret)));
    }
}

}  // namespace
}  // namespace orrery::agent
