#include <latch>
#include <thread>

#include "context/realtime_context.h"
#include "events/dispatcher_helper.h"
#include "events/scheduler_helper.h"
#include "handlers/device_bind_info.h"
#include "module/realtime_event_handler.h"
#include "support/fake_wirelink.h"
#include "support/test_clock.h"
#include "support/web_socket_server.h"

namespace orrery::test {
namespace {

constexpr char16_t lastKey[] = u"Realtime.DeviceBind.LastInfoSent";
constexpr char16_t toDmp[] = uR"({"NotificationProvider":2,"RecipientId":"n"})";
constexpr char16_t toHub[] = uR"({"NotificationProvider":6,"RecipientId":"n"})";

using Lines = std::vector<std::string>;

struct Handlers : WirelinkTest {
    ~Handlers() override {
        if (context) context->Stop();
    }
    void BringUp(const WebSocketServer& server) {
        config.Set(u"Communications.Method_CommandHub.Scheme", u"ws");
        config.Set(u"Communications.Method_CommandHub.Hostname", server.Uri().substr(5));
        config.Set(u"Communications.Method_CommandHub.Path", u"");
        context->Start();
        EXPECT_TRUE(Eventually([this] { return context->GetRealtimeManager()->IsPushConnected(); }));
        environment.eventgate.Take();
        environment.tracebox.Take();
    }
    uint32_t Execute(const char16_t* name, const std::string& event = "{}") {
        CMessageObject parsed;
        EXPECT_TRUE(parsed.Parse(event));
        return registry.ExecuteEventHandler(name, parsed);
    }
    uint32_t Poll() { return Execute(u"NotificationCheck"); }
    int Calls(const std::string& what) {
        int count = 0;
        for (const std::string& call : wire.Take()) count += call.starts_with(what);
        return count;
    }
    WideString Told() const { return config.Value(lastKey).value_or(u""); }
    Lines Log() { return environment.tracebox.Take(); }

    TestClock clock;
    CDispatcherHelper dispatcher;
    CSchedulerHelper scheduler{dispatcher};
    CRealtimeEventHandler registry{&environment.tracebox, &dispatcher, &scheduler};
    ContextRef context = registry.GetContext();
};

TEST_F(Handlers, ABindIsToldOnceAndKeptIfAccepted) {
    const Lines unchanged{"10 Should bind to DMP notifications"};
    const Lines accepted{"10 Should bind to DMP notifications", "10 Binded to DMP notifications"};
    const Lines retried{"10 DeviceBind requests a delayed retry",
                        "10 Retrying event DeviceBind in 1800 seconds"};
    const struct {
        const char* what;
        const char16_t* told;  // before
        std::string event = "{}";
        uint32_t sendResult = 0;
        uint32_t status = 200;
        bool writes = true;
        // Expected:
        int calls = 1;
        const char16_t* toldThen = toDmp;
        Lines log;
        bool asksRetry = false;
    } cases[] = {
        {.what = "nothing told yet", .told = u"", .event = R"({"DeviceBind":{}})", .log = accepted},
        {.what = "told already", .told = toDmp, .calls = 0, .log = unchanged},
        {.what = "force is no text",
         .told = toDmp,
         .event = R"({"DeviceBind":{"Force":"true"}})",
         .calls = 0,
         .log = unchanged},
        {.what = "force is no array's",
         .told = toDmp,
         .event = R"({"DeviceBind":[{"Force":true}]})",
         .calls = 0,
         .log = unchanged},
        {.what = "force",
         .told = toDmp,
         .event = R"({"DeviceBind":{"Force":true}})",
         .log = {"10 Force DeviceBind required", accepted[0], accepted[1]}},
        {.what = "another order of members counts as a change",
         .told = uR"({"RecipientId":"n","NotificationProvider":2})",
         .status = 299,
         .log = accepted},
        {.what = "not modified", .told = u"{", .status = 304, .log = accepted, .asksRetry = true},
        {.what = "refused",
         .told = u"{",
         .status = 403,
         .toldThen = u"{",
         .log = {unchanged[0], "30 Error in DeviceBind response. Error 5 - HTTP Status 403"},
         .asksRetry = true},
        {.what = "not sent",
         .told = u"{",
         .sendResult = 12029,
         .toldThen = u"{",
         .log = {unchanged[0], "30 Error sending DeviceBind message. Error 12029"},
         .asksRetry = true},
        {.what = "not stored",
         .told = u"{",
         .writes = false,
         .toldThen = u"{",
         .log = {accepted[0], accepted[1], "30 Error: Cannot save last bind info sent"}},
    };
    for (const auto& one : cases) {
        config.Set(lastKey, one.told);
        config.FailWrites(one.writes ? 0 : 1);
        wire.knobs.sendResult = one.sendResult;
        wire.knobs.reply.status = one.status;
        Lines log = one.log;
        if (one.asksRetry) log.insert(log.end(), retried.begin(), retried.end());
        EXPECT_EQ(Execute(u"DeviceBind", one.event), 0U) << one.what;
        EXPECT_EQ(Calls("send"), one.calls) << one.what;
        EXPECT_EQ(Told(), one.toldThen) << one.what;
        EXPECT_EQ(Log(), log) << one.what;
        EXPECT_EQ(environment.eventgate.Take().size(), size_t{one.asksRetry}) << one.what;
    }
    wire.knobs = {.isThere = false};
    EXPECT_THROW(Execute(u"DeviceBind"), std::logic_error);
    wire.knobs.isThere = true;
}

TEST_F(Handlers, BindsOfAProcessFollowOneAnother) {
    std::latch begun(100);  // the mutex is free, and the first call lasts until all have come
    wire.knobs.onRequest = [&] { begun.wait(); };
    const auto run = [&] {
        begun.count_down();
        Execute(u"DeviceBind");
    };
    for (std::vector<std::jthread> runs; runs.size() < 100;) runs.emplace_back(run);
    EXPECT_EQ(Calls("send"), 1);
}

TEST_F(Handlers, ABindNamesTheChannelOnceThatIsUpAndNothingWithoutIds) {
    config.Set(lastKey, toDmp);
    const WebSocketServer server(ServerManner::Greets);
    BringUp(server);
    EXPECT_EQ(Execute(u"DeviceBind"), 0U);
    EXPECT_EQ(Calls("send"), 1);
    EXPECT_EQ(Told(), toHub);
    EXPECT_EQ(Log(), (Lines{"10 Should bind to CommandHub notifications (real time)",
                            "10 Binded to CommandHub notifications (real time)"}));
    for (const char16_t* id : {u"Register.Notification.NotificationId", u"Register.Register.DeviceId"}) {
        const WideString value = *config.Value(id);
        config.Set(id, u"");
        EXPECT_EQ(Execute(u"DeviceBind", R"({"DeviceBind":{"Force":true}})"), 0U) << ToUtf8(id);
        EXPECT_EQ(Calls("send"), 0) << ToUtf8(id);
        EXPECT_TRUE(environment.eventgate.Take().empty()) << ToUtf8(id);
        config.Set(id, value);
    }
}

TEST_F(Handlers, EventsAfterTheStopDoNothing) {
    context = ContextRef();
    registry.GiveUpContext();
    wire.Take();
    for (const char16_t* event :
         {u"DeviceBind", u"NotificationCheck", u"RealtimeClear", u"RealtimeEnable", u"RealtimeDisable"})
        EXPECT_EQ(Execute(event), 0U) << ToUtf8(event);
    EXPECT_TRUE(wire.Take().empty());
    EXPECT_TRUE(Log().empty());
    EXPECT_TRUE(environment.eventgate.Take().empty());
    EXPECT_EQ(config.Subscriptions(), 0U);
}

TEST(DeviceBindInfo, KnowsWhatWasToldAndWhatIsToBeTold) {
    TestEnvironment& environment = TestEnvironment::Get();
    environment.Reset();
    CDeviceBindInfo nothing(ProviderNone, nullptr, {});
    EXPECT_EQ(nothing.BuildMessage(), nullptr);
    EXPECT_TRUE(nothing.HasChanged());
    EXPECT_FALSE(nothing.SaveLastInfoSent());
    environment.config.Set(lastKey, toHub);
    const CDeviceBindInfo told(ProviderNone, nullptr, {});
    EXPECT_EQ(told.lastProvider, ProviderCommandHub);
    EXPECT_EQ(told.lastRecipientId, u"n");
    EXPECT_TRUE(CDeviceBindInfo(ProviderNone, nullptr, {}).HasChanged()) << "nothing isn't what was told";
    EXPECT_FALSE(CDeviceBindInfo(ProviderCommandHub, nullptr, u"n").HasChanged());
    EXPECT_TRUE(CDeviceBindInfo(ProviderCommandHub, nullptr, {}).SaveLastInfoSent());
    EXPECT_EQ(environment.config.Value(lastKey), uR"({"NotificationProvider":6})");
}

TEST_F(Handlers, APollIsMadeWherePushDoesNotReach) {
    const std::string push =
        R"({"NotificationPush":{"EventSource":"Realtime::NotificationCheck","EventId":"{)";
    const WebSocketServer server(ServerManner::Greets);
    const std::tuple<const char16_t*, bool, bool> cases[] = {
        {u"", false, true}, {u"{", false, true}, {toHub, false, false}, {toDmp, false, true},
        {u"", true, false}, {u"{", true, false}, {toDmp, true, true}};
    for (const auto& [stored, isUp, polls] : cases) {
        if (isUp && stored == std::u16string_view()) BringUp(server);
        config.Set(lastKey, stored);
        wire.knobs.answers = {{true, 200}};
        EXPECT_EQ(Poll(), 0U);
        EXPECT_EQ(Calls("get"), polls) << ToUtf8(stored);
        std::string raised;
        for (const auto& [text, flag] : environment.eventgate.Take()) raised += text.substr(0, push.size());
        EXPECT_EQ(raised, polls ? push : "") << ToUtf8(stored);
    }
}

TEST_F(Handlers, OverlappingPollsAreRefusedAndCounted) {
    config.Set(u"Events.Defaults.AllowExecutionsAfter", u"100");
    config.Set(u"Events.NotificationCheck.MaxErrors", u"1");
    wire.knobs.onRequest = [this] {
        for (const uint32_t refusal : {AlreadyRunning, AlreadyRunning, AccessDisabledByPolicy})
            EXPECT_EQ(Poll(), refusal);
    };
    EXPECT_EQ(Poll(), 0U);
    wire.knobs.onRequest = nullptr;
    clock.Advance(99);
    EXPECT_EQ(Poll(), AccessDisabledByPolicy);
    EXPECT_EQ(Calls("get"), 1);
    clock.Advance(1);
    EXPECT_EQ(Poll(), 0U);
    EXPECT_EQ(Calls("get"), 1);
}

}  // namespace
}  // namespace orrery::test
