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
    ~Handlers() override { context->Stop(); }
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
    Lines Log() { return environment.tracebox.Take(); }

    TestClock clock;
    CDispatcherHelper dispatcher;
    CSchedulerHelper scheduler{dispatcher};
    CRealtimeEventHandler registry{&environment.tracebox, &dispatcher, &scheduler};
    ContextRef context = registry.GetContext();
};

TEST_F(Handlers, ABindIsToldOnceAndKeptIfAccepted) {
    const std::string should = "10 Should bind to DMP notifications";
    const std::string bound = "10 Binded to DMP notifications";
    const std::string asks = "10 DeviceBind requests a delayed retry";
    const std::string retries = "10 Retrying event DeviceBind in 1800 seconds";
    const std::string refused = "30 Error in DeviceBind response. Error 5 - HTTP Status 403";
    const std::string lost = "30 Error sending DeviceBind message. Error 12029";
    const std::string forced = "10 Force DeviceBind required";
    const char* const empty = R"({"DeviceBind":{}})";
    const char* const force = R"({"DeviceBind":{"Force":true}})";
    const char16_t* const otherOrder = uR"({"RecipientId":"n","NotificationProvider":2})";
    const struct {
        const char16_t* toldBefore;
        const char* event;
        uint32_t sendResult, status;
        int calls;
        const char16_t* toldThen;
        Lines log;
    } cases[] = {
        {u"", empty, 0, 200, 1, toDmp, {should, bound}},
        {toDmp, "{}", 0, 200, 0, toDmp, {should}},
        {toDmp, R"({"DeviceBind":{"Force":"true"}})", 0, 200, 0, toDmp, {should}},
        {toDmp, R"({"DeviceBind":[{"Force":true}]})", 0, 200, 0, toDmp, {should}},
        {toDmp, force, 0, 200, 1, toDmp, {forced, should, bound}},
        {otherOrder, "{}", 0, 299, 1, toDmp, {should, bound}},
        {u"{", "{}", 0, 304, 1, toDmp, {should, bound, asks, retries}},
        {u"{", "{}", 0, 403, 1, u"{", {should, refused, asks, retries}},
        {u"{", "{}", 12029, 200, 1, u"{", {should, lost, asks, retries}},
    };
    for (const auto& one : cases) {
        config.Set(lastKey, one.toldBefore);
        wire.knobs.sendResult = one.sendResult;
        wire.knobs.reply.status = one.status;
        EXPECT_EQ(Execute(u"DeviceBind", one.event), 0U);
        EXPECT_EQ(Calls("send"), one.calls);
        EXPECT_EQ(config.Value(lastKey), one.toldThen);
        EXPECT_EQ(Log(), one.log);
    }
    wire.knobs = {};
    config.FailWrites(1);
    EXPECT_EQ(Execute(u"DeviceBind"), 0U);
    EXPECT_EQ(Log(), (Lines{should, bound, "30 Error: Cannot save last bind info sent"}));
    wire.knobs.isThere = false;
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

TEST_F(Handlers, ABindNamesTheChannelThatIsUpAndNothingWithoutIds) {
    const WebSocketServer server(ServerManner::Greets);
    BringUp(server);
    EXPECT_EQ(Execute(u"DeviceBind"), 0U);
    EXPECT_EQ(config.Value(lastKey), toHub);
    EXPECT_EQ(Log(), (Lines{"10 Should bind to CommandHub notifications (real time)",
                            "10 Binded to CommandHub notifications (real time)"}));
    EXPECT_EQ(Calls("send"), 1);
    for (const char16_t* id : {u"Register.Notification.NotificationId", u"Register.Register.DeviceId"}) {
        const WideString value = *config.Value(id);
        config.Set(id, u"");
        EXPECT_EQ(Execute(u"DeviceBind", R"({"DeviceBind":{"Force":true}})"), 0U);
        EXPECT_EQ(Calls("send"), 0) << ToUtf8(id);
        config.Set(id, value);
    }
}

TEST_F(Handlers, ARecordOfNothingHasNothingToTell) {
    config.Set(lastKey, toHub);
    CDeviceBindInfo nothing(ProviderNone, nullptr, {});
    EXPECT_EQ(nothing.lastRecipientId, u"n");
    EXPECT_TRUE(!nothing.BuildMessage() && nothing.HasChanged() && !nothing.SaveLastInfoSent());
    EXPECT_TRUE(CDeviceBindInfo(ProviderCommandHub, nullptr, {}).SaveLastInfoSent());
    EXPECT_EQ(config.Value(lastKey), uR"({"NotificationProvider":6})");
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
