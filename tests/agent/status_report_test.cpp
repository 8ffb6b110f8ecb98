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

constexpr int64_t now = 1'767'225'600'000;  // 2026-01-01T00:00:00Z

// One that runs, has lost its server and waits.
const SettingsMap settings{
    {u"Communications.Method_CommandHub.Hostname", u"hub:1"},
    {u"Communications.Method_CommandHub.Path", u"/p"},
    {u"Communications.Method_CommandHub.Scheme", u"wss"},
    {u"Events.Defaults.AllowExecutionsAfter", u"60"},
    {u"Events.Defaults.MaxErrors", u"2"},
    {u"Events.E.ErrorCount", u"3"},
    {u"Events.E.LastErrorTime", u"1767225541"},
    {u"Events.Few.ErrorCount", u"2"},
    {u"Events.Few.LastErrorTime", u"1767225600"},
    {u"Events.Over.ErrorCount", u"3"},
    {u"Events.Over.LastErrorTime", u"1767225540"},
    {u"Realtime.DeviceBind.LastInfoSent", uR"({"NotificationProvider":2,"RecipientId":"r"})"},
    {u"Realtime.Manager.CheckInterval", u"10"},
    {u"Realtime.Manager.RetriesWait", u"100"},
    {u"Register.Register.DeviceId", u"d"},
    {u"Register.Register.SiteId", u"s\n"},
    {u"Scheduler.Tasks.NotificationCheck",
     uR"({"ScheduleId":"NotificationCheck","NextTime":"2026-01-01T00:30:00Z","ScheduleInfo":{"Every":1800},"Actions":{"N":{}}})"},
    {u"Scheduler.Tasks.o", u"odd"},
    {u"Scheduler.Tasks.t",
     uR"({"ScheduleId":"t","NextTime":"2026-01-02T00:00:00Z","Enabled":false,"ScheduleInfo":{},"Actions":{"A":{},"B":{}}})"},
    {u"Services.Service_NotificationCheck.ETag", u"\"7\""},
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
    AgentObservation told, off;
    ASSERT_TRUE(ReadObservation(ObservationText(observation), told));
    off.notes.switchedOff = true;
    EXPECT_FALSE(ReadObservation(R"({"processId":0})", off));
    EXPECT_EQ(StatusText(StatusReport(settings, told, now)),
              R"(agent         running, process 5, since 2025-12-31T23:59:00.000Z
device        d
site          s\x0A
channel       lost
server        wss://hub:1/p
last connect  2025-12-31T23:59:30.000Z
retries       at maximum
last loss     between 2025-12-31T23:59:40.000Z and 2025-12-31T23:59:50.000Z
next attempt  between 2026-01-01T00:01:35.000Z and 2026-01-01T00:01:45.000Z
provider      DMP, polled, last told to the server for r
polls         next 2026-01-01T00:30:00.000Z, every 1800 s, entity tag "7"
proxy         configured: 0
tasks         3
  NotificationCheck: next 2026-01-01T00:30:00.000Z, every 1800 s N
  o: next unknown
  t: next 2026-01-02T00:00:00.000Z, disabled A B
throttled     1
  E: 3 errors of 2, until 2026-01-01T00:00:01.000Z
)");
    told.up = true;
    EXPECT_THAT(StatusText(StatusReport(settings, told, now)),
                HasSubstr("channel       connected since 2025-12-31T23:59:30.000Z\n"));
    const std::string rest = R"(device        not registered
site          none
channel       disabled
server        not set
provider      none
polls         not scheduled
proxy         configured: 0
tasks         none
throttled     none
)";
    EXPECT_EQ(StatusText(StatusReport({}, off, now)),
              "agent         running, process 0, since 1970-01-01T00:00:00.000Z\n" + rest);
}

}  // namespace
}  // namespace orrery::agent
