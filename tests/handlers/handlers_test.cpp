
#include "context/realtime_context.h"
#include "events/dispatcher_helper.h"
#include "events/scheduler_helper.h"
#include "module/realtime_event_handler.h"
#include "support/test_clock.h"
#include "support/test_environment.h"
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

    TestClock clock;
    CDispatcherHelper dispatcher;
    CSchedulerHelper scheduler{dispatcher};
    CRealtimeEventHandler registry{&environment.tracebox, &dispatcher, &scheduler};
    ContextRef context = registry.GetContext();
};

TEST_F(Handlers, ABindOfAKnownDeviceIsToldOnceAndKeptIfAccepted) {
    const char* const force = R"({"DeviceBind":{"Force":true}})";
    const char16_t* const otherOrder = uR"({"RecipientId":"n","NotificationProvider":2})";
    const struct {
        const char16_t* toldBefore;
        const char* event;
        uint32_t sendResult, status;
        int calls;
        const char16_t* toldThen;
        size_t retries;
        const char16_t *deviceId = u"device", *notificationId = u"n";
    } cases[] = {{u"", R"({"DeviceBind":{}})", 0, 200, 1, toDmp, 0},
                 {toDmp, R"({"DeviceBind":{"Force":"true"}})", 0, 200, 0, toDmp, 0},
                 {toDmp, force, 0, 200, 1, toDmp, 0},
                 {otherOrder, "{}", 0, 299, 1, toDmp, 0},
                 {u"{", "{}", 0, 304, 1, toDmp, 1},
                 {u"{", "{}", 0, 403, 1, u"{", 1},
                 {u"{", "{}", 12029, 200, 1, u"{", 1},
                 {toDmp, force, 0, 200, 0, toDmp, 0, u""},
                 {toDmp, force, 0, 200, 0, toDmp, 0, u"device", u""}};
    for (const auto& one : cases) {
        config.Set(u"Register.Register.DeviceId", one.deviceId);
        config.Set(u"Register.Notification.NotificationId", one.notificationId);
        config.Set(lastKey, one.toldBefore);
        wire.knobs.sendResult = one.sendResult;
        wire.knobs.reply.status = one.status;
        EXPECT_EQ(Execute(u"DeviceBind", one.event), 0U);
        EXPECT_EQ(Calls("send"), one.calls);
        EXPECT_EQ(config.Value(lastKey), one.toldThen);
        EXPECT_EQ(environment.eventgate.Take().size(), one.retries);
    }
}

TEST_F(Handlers, APollIsMadeWherePushDoesNotReach) {
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
        EXPECT_EQ(environment.eventgate.Take().size(), polls) << ToUtf8(stored);
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
    EXPECT_EQ(Calls("get"), 1);
    wire.knobs.onRequest = nullptr;
    clock.Advance(100);
    EXPECT_EQ(Poll(), 0U) << "the end of the first one lets others in";
    EXPECT_EQ(Calls("get"), 1);
}

}  // namespace
}  // namespace orrery::test
