#include <latch>
#include <thread>

#include "context/realtime_context.h"
#include "events/dispatcher_helper.h"
#include "events/scheduler_helper.h"
#include "module/realtime_event_handler.h"
#include "support/fake_wirelink.h"
#include "support/test_clock.h"
#include "support/web_socket_server.h"

namespace orrery::test {
namespace {

constexpr char16_t lastKey[] = u"Realtime.DeviceBind.LastInfoSent";
constexpr char16_t toDmp[] = uR"({"NotificationProvider":2,"RecipientId":"n"})";
constexpr char16_t toHub[] = uR"({"NotificationProvider":6,"RecipientId":"n"})";

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
    // The number of calls, what is stored, the log.
    std::string Bind(const std::string& event = "{}") {
        EXPECT_EQ(Execute(u"DeviceBind", event), 0U);
        std::string outcome = std::to_string(Calls("send")) + ToUtf8(config.Value(lastKey).value_or(u""));
        for (const std::string& line : environment.tracebox.Take()) outcome += "|" + line.substr(3);
        return outcome;
    }

    TestClock clock;
    CDispatcherHelper dispatcher;
    CSchedulerHelper scheduler{dispatcher};
    CRealtimeEventHandler registry{&environment.tracebox, &dispatcher, &scheduler};
    ContextRef context = registry.GetContext();
};

TEST_F(Handlers, ABindIsToldOnceAndKeptIfAccepted) {
    const std::string should = "|Should bind to DMP notifications", bound = "|Binded to DMP notifications";
    const std::string none = "0" + ToUtf8(toDmp) + should, told = "1" + ToUtf8(toDmp) + should + bound;
    const std::string retry =
        "|DeviceBind requests a delayed retry|Retrying event DeviceBind in 1800 seconds";
    const std::string refused = should + "|Error in DeviceBind response. Error ";
    const std::tuple<const char16_t*, const char*, uint32_t, uint32_t, std::string> cases[] = {
        {u"", R"({"DeviceBind":{}})", 0, 200, told},
        {toDmp, "{}", 0, 200, none},
        {toDmp, R"({"DeviceBind":{"Force":"true"}})", 0, 200, none},
        {toDmp, R"({"DeviceBind":[{"Force":true}]})", 0, 200, none},
        {uR"({"RecipientId":"n","NotificationProvider":2})", "{}", 0, 299, told},
        {u"{", "{}", 0, 304, told + retry},
        {u"{", "{}", 0, 403, "1{" + refused + "5 - HTTP Status 403" + retry},
        {u"{", "{}", 12029, 200, "1{" + should + "|Error sending DeviceBind message. Error 12029" + retry}};
    for (const auto& [stored, event, sendResult, status, outcome] : cases) {
        config.Set(lastKey, stored);
        wire.knobs.sendResult = sendResult;
        wire.knobs.reply.status = status;
        EXPECT_EQ(Bind(event), outcome);
    }
    wire.knobs = {};
    config.FailWrites(1);
    EXPECT_EQ(Bind(), "1{" + should + bound + "|Error: Cannot save last bind info sent");
    wire.knobs.isThere = false;
    EXPECT_THROW(Bind(), std::logic_error);
    wire.knobs.isThere = true;
    std::latch begun(100);  // the mutex is free, and the first call lasts until all have come
    wire.knobs.onRequest = [&] { begun.wait(); };
    const auto run = [&] {
        begun.count_down();
        Execute(u"DeviceBind");
    };
    for (std::vector<std::jthread> runs; runs.size() < 100;) runs.emplace_back(run);
    EXPECT_EQ(Calls("send"), 1);
    const WebSocketServer server(ServerManner::Greets);
    BringUp(server);
    const std::string up = "|Should bind to CommandHub notifications (real time)";
    const std::string done = "|Binded to CommandHub notifications (real time)";
    EXPECT_EQ(Bind(), "1" + ToUtf8(toHub) + up + done);
    EXPECT_EQ(Bind(R"({"DeviceBind":{"Force":true}})"),
              "1" + ToUtf8(toHub) + "|Force DeviceBind required" + up + done);
    config.DeleteValue(u"Register.Notification.NotificationId");
    EXPECT_EQ(Bind(R"({"DeviceBind":{"Force":false}})"), "0" + ToUtf8(toHub));
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
