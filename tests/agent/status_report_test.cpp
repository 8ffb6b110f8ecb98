#include "agent/status/status_report.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "agent/status/status_text.h"

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

constexpr int64_t now = 1'767'225'600'000;  // 2026-01-01T00:00:00Z

// One that runs, has lost its server and waits.
const SettingsMap settings{
    {u"Communications.Method_CommandHub.Hostname", u"hub:1"},
    {u"Communications.Method_CommandHub.Path", u"/p"},
    {u"Communications.Method_CommandHub.Scheme", u"ws"},
    {u"Events.Defaults.AllowExecutionsAfter", u"60"},
    {u"Events.Defaults.MaxErrors", u"2"},
    {u"Events.E.ErrorCount", u"3"},
    {u"Events.E.LastErrorTime", u"1767225541"},
    {u"Realtime.Manager.CheckInterval", u"10"},
    {u"Realtime.Manager.RetriesWait", u"100"},
    {u"Register.Register.DeviceId", u"d"},
    {u"Register.Register.SiteId", u"s\n"},
    {u"Scheduler.Tasks.t",
     uR"({"ScheduleId":"t","NextTime":"2026-01-02T00:00:00Z","Enabled":false,"ScheduleInfo":{},"Actions":{"A":{},"B":{}}})"},
};
const AgentObservation observation{.processId = 5,
                                   .startedAt = now - 60'000,
                                   .up = false,
                                   .notes = {.lastConnect = now - 30'000,
                                             .lastUp = now - 20'000,
                                             .retriesUsedUp = now - 5000,
                                             .lossAfter = now - 20'000,
                                             .lossBefore = now - 10'000,
                                             .switchedOff = false}};

TEST(StatusReport, TellsAPersonWhatIsKnown) {
    AgentObservation told;
    ASSERT_TRUE(ReadObservation(ObservationText(observation), told));
    const std::string text = StatusText(StatusReport(settings, told, now));
    for (const char* line : {
             "agent         running, process 5, since 2025-12-31T23:59:00.000Z\n",
             "site          s\\x0A\n",
             "channel       lost\n",
             "last loss     between 2025-12-31T23:59:40.000Z and 2025-12-31T23:59:50.000Z\n",
             "next attempt  between 2026-01-01T00:01:35.000Z and 2026-01-01T00:01:45.000Z\n",
             "  t: next 2026-01-02T00:00:00.000Z, disabled A B\n",
             "  E: 3 errors of 2, until 2026-01-01T00:00:01.000Z\n",
         })
        EXPECT_THAT(text, HasSubstr(line));
}

}  // namespace
}  // namespace orrery::agent
