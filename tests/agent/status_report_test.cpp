#include "agent/status_report.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "agent/status_text.h"

namespace orrery::agent {
namespace {

using Json = nlohmann::ordered_json;
using testing::HasSubstr;
using testing::Not;

constexpr int64_t now = 1'767'225'600'000;

TEST(StatusReport, ObservationsSurviveTheSocket) {
    AgentObservation observation{.processId = 7, .startedAt = now, .up = true, .notes = {}};
    observation.notes.lastConnect = now - 5000;
    observation.notes.switchedOff = true;
    AgentObservation read;
    ASSERT_TRUE(ReadObservation(ObservationText(observation), read));
    EXPECT_EQ(ObservationText(read), ObservationText(observation));
    EXPECT_FALSE(ReadObservation("{}", read));
}

TEST(StatusReport, ProviderAndProxy) {
    struct Case {
        WideString used, list, bind;
        const char* proxy;
        const char* provider;
    };
    const Case cases[] = {
        {uR"({"Mode":1,"ProxyList":"http://me:hidden@p:1;q:2","Password":"hidden"})", u"",
         uR"({"NotificationProvider":6})", R"({"used":"http://p:1;q:2"})", "CommandHub"},
        {uR"({"Mode":2,"WPADUrl":"http://me:hidden@w/p.pac"})", u"", uR"({"NotificationProvider":2})",
         R"({"used":"auto-configuration http://w/p.pac"})", "DMP"},
        {uR"({"Mode":0})", u"", uR"({"RecipientId":"x"})", R"({"used":"direct"})", "none"},
        {u"", uR"({"ProxyConfig":[{"source":"direct"},{"password":"hidden"}]})", u"broken",
         R"({"configured":2})", "none"},
        {u"", u"aGlkZGVu", u"[]", R"({"configured":null})", "none"},
    };
    for (const Case& item : cases) {
        SettingsMap settings{{u"Proxy.Default.LastProxyConfigUsed", item.used},
                             {u"Proxy.Default.FallbackList", item.list},
                             {u"Realtime.DeviceBind.LastInfoSent", item.bind},
                             {u"Register.Register.Secret", u"hidden"},
                             {u"Register.Register.Password", u"hidden"}};
        const Json report = StatusReport(settings, std::nullopt, now);
        EXPECT_EQ(report["proxy"].dump(), item.proxy);
        EXPECT_EQ(report["provider"], item.provider);
        EXPECT_THAT(report.dump(), Not(HasSubstr("hidden")));
    }
}

TEST(StatusReport, ThrottledEventsFollowTheRuleOfExecutions) {
    struct Case {
        const char* name;
        SettingsMap settings;
        bool throttled;
    };
    const WideString recently = u"1767225500";  // 100 s before now
    const WideString count = u"Events.A.B.ErrorCount", time = u"Events.A.B.LastErrorTime";
    const WideString own = u"Events.A.B.MaxErrors", all = u"Events.Defaults.MaxErrors";
    const WideString after = u"Events.Defaults.AllowExecutionsAfter";
    const Case cases[] = {
        {"above its limit", {{count, u"4"}, {own, u"3"}, {after, u"3600"}, {time, recently}}, true},
        {"at its limit", {{count, u"3"}, {own, u"3"}, {after, u"3600"}, {time, recently}}, false},
        {"limit of all events", {{count, u"4"}, {all, u"3"}, {after, u"3600"}, {time, recently}}, true},
        {"no limit", {{count, u"4"}, {own, u"0"}, {all, u"3"}, {after, u"3600"}, {time, recently}}, false},
        {"forgiven", {{count, u"4"}, {own, u"3"}, {after, u"100"}, {time, recently}}, false},
        {"limit isn't read without the time", {{count, u"4"}, {own, u"3"}, {time, recently}}, false},
    };
    for (const Case& item : cases) {
        const Json throttled = StatusReport(item.settings, std::nullopt, now)["throttled"];
        EXPECT_EQ(throttled.size(), item.throttled ? 1u : 0u) << item.name;
        if (item.throttled) {
            EXPECT_EQ(throttled[0].dump(),
                      R"({"event":"A.B","errors":4,"maximum":3,"until":"2026-01-01T00:58:20.000Z"})");
        }
    }
}

TEST(StatusReport, TasksAreListedEvenIfTheyCannotBeRead) {
    const SettingsMap settings{{u"Scheduler.Tasks.a",
                                uR"({"ScheduleId":"a","ScheduleInfo":{"Every":60},"Actions":{"A":{},"B":{}},)"
                                uR"("Enabled":false,"NextTime":"2026-01-01T00:00:00.000Z"})"},
                               {u"Scheduler.Tasks.b", u"broken"}};
    const Json report = StatusReport(settings, std::nullopt, now);
    EXPECT_EQ(
        report["tasks"].dump(),
        R"([{"id":"a","next":"2026-01-01T00:00:00.000Z","every":60,"events":["A","B"],"enabled":false},)"
        R"({"id":"b","next":null,"every":null,"events":[],"enabled":null}])");
    EXPECT_THAT(StatusText(report), HasSubstr("a: next 2026-01-01T00:00:00.000Z, every 60 s, disabled A B"));
}

}  // namespace
}  // namespace orrery::agent
