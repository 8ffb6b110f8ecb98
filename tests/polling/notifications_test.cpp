#include <future>

#include "platform/text.h"
#include "polling/dmp_notifications_manager.h"
#include "support/test_environment.h"

namespace orrery::test {
namespace {

constexpr char16_t checkTag[] = u"Services.Service_NotificationCheck.ETag";
constexpr char16_t nothing[] = u"-";

using Calls = std::vector<std::string>;

struct Notifications : WirelinkTest {
    // The text that comes, or `nothing`; `calls` is what the services were asked meanwhile.
    WideString Poll(std::deque<DataAnswer> answers) {
        WideString text = nothing;
        wire.knobs.answers = std::move(answers);
        const bool found = manager.Check(text);
        EXPECT_EQ(found, text != nothing);
        calls = wire.Take();
        std::erase_if(calls, [](const std::string& call) { return !call.ends_with("]") && call != "close"; });
        return text;
    }

    CDmpNotificationsManager manager{nullptr};
    Calls calls;
};

TEST_F(Notifications, TheTagGoesFromPollToPoll) {
    const struct {
        std::deque<DataAnswer> answers;
        Calls calls;
        WideString text, tag;
    } polls[] = {{{{false, 404}, {true, 201, u"1"}}, {"get n []", "set n []"}, nothing, u"1"},
                 {{{true, 304}}, {"get n [1]"}, nothing, u"1"},
                 {{{true, 200, u"2", "\xC3\xBC"}}, {"get n [1]"}, u"\u00FC", u"2"},
                 {{{true, 200}}, {"get n [2]"}, u"", u"2"},
                 {{{true, 204, u"3"}}, {"get n [2]"}, nothing, u"3"},
                 {{{false, 400}}, {"get n [3]"}, nothing, u""},
                 {{{false, 404}, {true, 304, u"5"}}, {"get n []", "set n []"}, nothing, u""},
                 {{{false, 404}, {false, 200, u"6"}}, {"get n []", "set n []"}, nothing, u""},
                 {{{true, 304, u"7"}}, {"get n []"}, nothing, u"7"},
                 {{{true, 404}}, {"get n [7]"}, nothing, u"7"},
                 {{{false, 200, u"8"}}, {"get n [7]"}, nothing, u"7"}};
    for (const auto& [answers, expected, text, tag] : polls) {
        EXPECT_EQ(Poll(answers), text);
        EXPECT_EQ(calls, expected);
        EXPECT_EQ(config.Value(checkTag), tag);
    }
    const uint32_t writes = config.writes;
    for (const size_t length : {300U, 600U}) {
        config.Set(checkTag, WideString(length, u't'));
        Poll({{true, 304}});
        EXPECT_EQ(calls, Calls{"get n [" + std::string(length == 300 ? 255 : 0, 't') + "]"});
    }
    EXPECT_EQ(config.writes, writes + 1) << "of the tag that was cut";
}

TEST_F(Notifications, AServiceBelongsToOneDeviceAndOneId) {
    EXPECT_EQ(Poll({{true, 200, u"1", "x"}}), u"x");
    config.Set(u"Register.Notification.NotificationId", u"N");
    Poll({{true, 304}});
    EXPECT_EQ(calls, (Calls{"close", "get N [1]"}));
    config.WriteValue(u"Register.Register.DeviceId", u"other", 0);
    EXPECT_EQ(Poll({{true, 200, u"1", "y"}}), u"y");
    EXPECT_EQ(calls, (Calls{"close", "get N [1]"}));
    config.WriteValue(u"Register.Register.DeviceId", u"third", 0);
    config.Set(u"Services.Defaults.Type", u"getDataById");
    EXPECT_EQ(Poll({}), u"y") << "that of the answer before";
    config.DeleteValue(u"Register.Notification.NotificationId");
    EXPECT_EQ(Poll({}), nothing);
}

// One lock for all handlers of the process.
TEST_F(Notifications, APollUnderWayIsWaitedFor) {
    {
        CDmpNotificationsManager other(nullptr);
        const auto poll = [&other, text = WideString()]() mutable { other.Check(text); };
        const auto change = [this] { config.WriteValue(u"Register.Register.DeviceId", u"other", 0); };
        for (const std::function<void()>& action : {std::function<void()>(poll), {change}}) {
            std::future<void> waiting;
            std::atomic<bool> isUnderWay{false};
            wire.knobs.onRequest = [&] {
                if (isUnderWay.exchange(true)) return;
                waiting = std::async(std::launch::async, action);
                EXPECT_EQ(waiting.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
            };
            EXPECT_EQ(Poll({{true, 200, {}, "x"}}), u"x");
            waiting.get();
        }
    }
    EXPECT_EQ(config.subscriptions, 2U) << "those of the manager that is left";
}

}  // namespace
}  // namespace orrery::test
