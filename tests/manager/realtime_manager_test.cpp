#include "manager/realtime_manager.h"

#include <gmock/gmock.h>

#include "events/dispatcher_helper.h"
#include "support/fake_server.h"
#include "support/fake_system.h"
#include "support/scarcity.h"
#include "support/test_clock.h"
#include "support/test_environment.h"

namespace orrery::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char bindEvent[] = R"({"DeviceBind":{}})";
constexpr char connectivityEvent[] = R"({"ConnectivityTest":{}})";
constexpr char commandsEvent[] = R"({"CheckCommands":{}})";
constexpr char16_t enabledKey[] = u"Realtime.Notifications.Enabled";
constexpr char16_t hostKey[] = u"Communications.Method_CommandHub.Hostname";

// The clock stands: a wait is over when a test says so. Checks come from the test, as the period of the
// manager's thread is a day, unless the test shortens it.
class RealtimeManagerTest : public EnvironmentTest {
  protected:
    RealtimeManagerTest() {
        config.Set(u"Register.Register.DeviceId", u"abc");
        config.Set(u"Communications.Method_CommandHub.Scheme", u"wss");
        config.Set(hostKey, u"hub");
        config.Set(u"Communications.Method_CommandHub.Path", u"/p");
        config.Set(u"Realtime.Manager.LostConnectionRetriesInterval", u"10");
        config.Set(u"Realtime.Manager.CannotConnectRetriesInterval", u"100");
        config.Set(u"Realtime.Manager.CheckInterval", u"86400");
        Make();
    }
    ~RealtimeManagerTest() override { server.blocked = false; }

    void Make(uint64_t stopTimeout = 30'000) {
        manager.reset();
        manager = std::make_unique<CRealtimeManager>(&environment.tracebox, &config, &dispatcher, server,
                                                     stopTimeout);
    }
    bool WaitForAttempt(int number) {
        return Eventually([&] { return server.attempts == number; });
    }
    void StartAndSettle() {
        ASSERT_TRUE(manager->Start());
        ASSERT_TRUE(WaitForAttempt(1));
        manager->IsPushConnected();  // waits for the end of the attempt
    }
    // What is raised, at least `count` of them.
    std::vector<std::string> Events(size_t count = 0) {
        std::vector<std::string> texts;
        EXPECT_TRUE(Eventually([&] {
            for (const auto& [text, flag] : environment.eventgate.Take()) texts.push_back(text);
            return texts.size() >= count;
        }));
        return texts;
    }
    // The attempts so far, once this check is done.
    int CheckAfter(int64_t seconds) {
        clock.Advance(seconds);
        EXPECT_TRUE(manager->CheckPushManager());
        return server.attempts;
    }

    int attempts = 0;
    TestClock clock;
    CDispatcherHelper dispatcher;
    FakeServer server;
    std::unique_ptr<CRealtimeManager> manager;
};

TEST_F(RealtimeManagerTest, FollowsStartStopAndTheSwitch) {
    StartAndSettle();
    EXPECT_TRUE(manager->Start());
    EXPECT_TRUE(manager->IsPushConnected());
    EXPECT_THAT(Events(), ElementsAre(bindEvent, connectivityEvent));
    EXPECT_THAT(server.Take(), Contains("wss://hub/p by proxies"));
    manager->Stop(true);
    EXPECT_FALSE(manager->IsPushConnected());
    EXPECT_EQ(config.subscriptions, 0U);
    EXPECT_THAT(Events(), IsEmpty());
    ASSERT_TRUE(manager->Start());
    EXPECT_THAT(Events(2), ElementsAre(bindEvent, connectivityEvent));
    manager->Stop(false);
    EXPECT_THAT(Events(), ElementsAre(bindEvent));

    config.Set(enabledKey, u"0");
    EXPECT_TRUE(manager->Start());
    config.WriteValue(u"Proxy.Default.FallbackList", u"{}", 0);
    config.WriteValue(enabledKey, u"", 0);
    EXPECT_THAT(Events(2), ElementsAre(bindEvent, connectivityEvent));
    config.WriteValue(enabledKey, u"0", 0);
    EXPECT_THAT(Events(1), ElementsAre(bindEvent));
    EXPECT_FALSE(manager->IsPushConnected());
    EXPECT_EQ(server.attempts, 3);
    EXPECT_EQ(environment.tracebox.Take().size(), 2U) << "each turn to off is said once";
}

TEST_F(RealtimeManagerTest, RebuildsForWhatShapesTheChainAndForNothingElse) {
    config.Set(u"Realtime.Manager.CheckInterval", u"10");
    Make();
    StartAndSettle();
    attempts = 1;
    for (const char16_t* key : {u"Register.Register.DeviceId", u"REALTIME.client.validatecertificates",
                                u"Communications.Method_CommandHub.Any", u"proxy.Any.thing"}) {
        config.Notify(key, u"a", u"A");
        EXPECT_TRUE(WaitForAttempt(++attempts)) << ToUtf8(key);
    }
    for (const char16_t* key : {u"Register.Register.SiteId", u"Register.Agent.DeviceId",
                                u"Realtime.Client.Other", u"Communications.Method_Bind.Path"})
        config.Notify(key, u"a", u"b");
    config.Notify(hostKey, u"a", u"a");
    manager->IsPushConnected();
    const int polls = server.polls;
    EXPECT_TRUE(clock.AdvanceWaiter(9));
    EXPECT_TRUE(clock.AdvanceWaiter(0)) << "it has looked at the clock";
    EXPECT_EQ(server.polls, polls);
    EXPECT_TRUE(clock.AdvanceWaiter(1));
    EXPECT_TRUE(Eventually([&] { return server.polls > polls; })) << "a period without a signal";
    EXPECT_EQ(server.attempts, attempts);
}

TEST_F(RealtimeManagerTest, AChangeDuringAnAttemptIsNotLost) {
    StartAndSettle();
    server.blocked = true;
    config.WriteValue(hostKey, u"second", 0);
    ASSERT_TRUE(WaitForAttempt(2));
    config.WriteValue(hostKey, u"third", 0);
    server.blocked = false;
    ASSERT_TRUE(WaitForAttempt(3));
    EXPECT_THAT(server.Take(), Contains("wss://third/p by proxies"));
    server.blocked = true;
    config.WriteValue(hostKey, u"fourth", 0);
    ASSERT_TRUE(WaitForAttempt(4));
    for (const char16_t* enabled : {u"0", u"1", u"0"}) config.WriteValue(enabledKey, enabled, 0);
    server.blocked = false;
    EXPECT_TRUE(Eventually([this] { return !manager->IsPushConnected(); }));
    EXPECT_EQ(server.attempts, 4);
}

TEST_F(RealtimeManagerTest, AsksForCommandsOnlyAfterANoticedLoss) {
    StartAndSettle();
    EXPECT_THAT(Events(), ElementsAre(bindEvent, connectivityEvent));
    server.Lose();
    EXPECT_EQ(CheckAfter(20), 1) << "the short wait";
    EXPECT_THAT(Events(), IsEmpty());
    EXPECT_EQ(CheckAfter(10), 2);
    EXPECT_THAT(Events(), ElementsAre(bindEvent, connectivityEvent, commandsEvent));
    server.Lose();
    CheckAfter(20);
    config.Notify(u"Proxy.a.b", u"a", u"b");
    EXPECT_THAT(Events(2), ElementsAre(bindEvent, connectivityEvent)) << "the new chain knows of no loss";
    manager->Stop(true);  // without a word, so no bind is pending
    server.accepts = false;
    server.attempts = 0;
    StartAndSettle();
    server.accepts = true;
    EXPECT_EQ(CheckAfter(100), 2);
    EXPECT_THAT(Events(), Contains(commandsEvent)) << "a failed attempt is a loss too";
}

TEST_F(RealtimeManagerTest, ANewInterfaceOwesAnAttempt) {
    server.accepts = false;
    server.watches = false;
    StartAndSettle();
    server.watches = true;
    CheckAfter(0);  // it is asked again at each check
    for (const auto type : {AddInstance, DeleteInstance, AddInstance}) server.onChange(type);
    EXPECT_EQ(server.attempts, 1) << "not at once";
    EXPECT_EQ(CheckAfter(0), 2);
    EXPECT_THAT(Events(), ElementsAre(bindEvent)) << "the retries are used up";
    server.accepts = true;
    EXPECT_EQ(CheckAfter(0), 3);
    EXPECT_THAT(Events(), ElementsAre(bindEvent, connectivityEvent)) << "no commands while a bind is pending";
    EXPECT_FALSE(server.onChange) << "a connection stops the watcher";
}

TEST_F(RealtimeManagerTest, WaitsForWhatTheChainNeeds) {
    config.DeleteValue(hostKey);
    config.Set(u"Realtime.Manager.CheckInterval", u"1");
    Make();
    ASSERT_TRUE(manager->Start());
    for (int period = 0; period < 2; ++period) EXPECT_TRUE(clock.AdvanceWaiter(1));
    EXPECT_FALSE(manager->CheckPushManager());
    EXPECT_THAT(server.Take(), IsEmpty());
    config.Set(hostKey, u"late");
    EXPECT_TRUE(clock.AdvanceWaiter(1));
    EXPECT_TRUE(WaitForAttempt(1));
    manager.reset();
    EXPECT_THROW(environment.Replace("Utils/Wirelink", "null_objects"); Make(), std::invalid_argument);
}

TEST_F(RealtimeManagerTest, AStartWithoutMemoryLeavesNoObserverBehind) {
    config.onSubscribe = [this] {
        if (config.subscriptions == 2) throw std::bad_alloc();
    };
    EXPECT_THROW(manager->Start(), std::bad_alloc);
    manager.reset();
    EXPECT_EQ(config.subscriptions, 0U);
}

TEST_F(RealtimeManagerTest, AnOldSystemHasNoChannelWhileItIsLookedAt) {
    const Machine old{
        .major = 5, .minor = 2, .isServer = true, .build = u"3790", .productType = 0, .family = 2};
    const FakeSystem system(old);
    EXPECT_FALSE(manager->Start());
    EXPECT_THAT(Events(), ElementsAre(bindEvent));
    config.Set(u"Realtime.Notifications.CheckOS", u"0");
    StartAndSettle();
    EXPECT_TRUE(manager->IsPushConnected());
}

TEST_F(RealtimeManagerTest, TheNextStartWaitsForAThreadThatOutlivedItsStop) {
    Make(0);
    server.blocked = true;
    ASSERT_TRUE(manager->Start());
    ASSERT_TRUE(WaitForAttempt(1));
    manager->Stop(true);
    ASSERT_TRUE(manager->Start());
    server.blocked = false;
    ASSERT_TRUE(WaitForAttempt(2));
    EXPECT_TRUE(manager->IsPushConnected());
    EXPECT_THAT(Events(2), ElementsAre(bindEvent, connectivityEvent));
}

TEST_F(RealtimeManagerTest, AConnectionThatOvertakesTheEndIsFollowedByItsBind) {
    const auto connectDuring = [this](const auto& end) {
        server.blocked = true;
        ASSERT_TRUE(manager->Start());
        ASSERT_TRUE(WaitForAttempt(++attempts));
        end();
        EXPECT_THAT(Events(3), ElementsAre(bindEvent, connectivityEvent, bindEvent));
    };
    connectDuring([this] {
        config.onUnsubscribe = [this] {
            server.blocked = false;
            manager->IsPushConnected();  // waits for the end of the attempt
        };
        manager->Stop(false);
        config.onUnsubscribe = nullptr;
    });
    connectDuring([this] {
        config.WriteValue(enabledKey, u"0", 0);
        server.blocked = false;
    });
}

TEST_F(RealtimeManagerTest, WithoutDescriptorsOrThreadsItTellsAndStartsLater) {
    dispatcher.RaiseEventText(u"{}", EventOrigin::Remote);
    Events(1);
    const auto expectRefusal = [this](const char* line) {
        EXPECT_FALSE(manager->Start());
        EXPECT_THAT(environment.tracebox.Take(), ElementsAre(line));
        EXPECT_THAT(Events(), ElementsAre(bindEvent));
    };
    WithoutDescriptors([&] { expectRefusal("30 Error 8: Creating realtime thread"); });
    WithoutThreads([&] { expectRefusal("30 Error 11: Creating realtime thread"); });
    StartAndSettle();
    EXPECT_TRUE(manager->IsPushConnected());
}

TEST_F(RealtimeManagerTest, AnAttemptThatOutlivesItsStopIsNotSpokenOf) {
    config.Set(u"Realtime.Manager.BehaviourOnLostConnection", u"1");
    config.Set(u"Realtime.Manager.MaxConnectionRetries", u"1");
    for (const bool accepts : {true, false}) {
        for (const bool silent : {true, false}) {
            Make(0);
            server.accepts = accepts;
            server.blocked = true;
            ASSERT_TRUE(manager->Start());
            ASSERT_TRUE(WaitForAttempt(++attempts));
            manager->Stop(silent);
            server.blocked = false;
            manager.reset();
            EXPECT_THAT(Events(), testing::SizeIs(silent ? 0 : 1)) << "accepted: " << accepts;
        }
    }
}

}  // namespace
}  // namespace orrery::test
