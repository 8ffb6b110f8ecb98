#include "platform/text.h"
#include "polling/dmp_notifications_manager.h"
#include "support/fake_wirelink.h"

namespace orrery::test {
namespace {

constexpr char16_t checkTag[] = u"Services.Service_NotificationCheck.ETag";

struct Notifications : WirelinkTest {
    // What was called, joined, then "=" and the text that was found, or "-".
    std::string Poll(std::deque<DataAnswer> answers) {
        WideString text = u"-";
        std::string calls;
        wire.knobs.answers = std::move(answers);
        const bool found = manager.Check(text);
        EXPECT_EQ(found, text != u"-");
        for (const std::string& call : wire.Take())
            if (call.starts_with("open") || call.ends_with("]")) calls += call + ";";
        return calls + "=" + ToUtf8(text);
    }

    CDmpNotificationsManager manager{nullptr};
};

TEST_F(Notifications, TheTagGoesFromPollToPoll) {
    const std::tuple<std::deque<DataAnswer>, std::string, WideString> polls[] = {
        {{{false, 404}, {true, 201, u"1"}}, "open n;get n [];open n;set n [];=-", u"1"},
        {{{true, 304}}, "get n [1];=-", u"1"},
        {{{true, 200, u"2", "\xC3\xBC"}}, "get n [1];=\u00FC", u"2"},
        {{{true, 200}}, "get n [2];=", u"2"},
        {{{true, 204, u"3"}}, "get n [2];=-", u"3"},
        {{{false, 400}}, "get n [3];=-", u""},
        {{{false, 404}, {true, 304, u"5"}}, "get n [];set n [];=-", u""},
        {{{false, 404}, {false, 200, u"6"}}, "get n [];set n [];=-", u""},
    };
    for (const auto& [answers, outcome, tag] : polls) {
        EXPECT_EQ(Poll(answers), outcome);
        EXPECT_EQ(config.Value(checkTag), tag);
    }
    config.Set(checkTag, WideString(300, u't'));
    EXPECT_EQ(Poll({{true, 304}}), "get n [" + std::string(255, 't') + "];=-");
    config.Set(checkTag, WideString(600, u't'));
    const uint32_t writes = config.Writes();
    EXPECT_EQ(Poll({{true, 304}}), "get n [];=-");
    EXPECT_EQ(config.Writes(), writes) << "the same tag";
}

TEST_F(Notifications, AServiceBelongsToOneDeviceAndOneId) {
    EXPECT_EQ(Poll({{true, 200, u"1", "x"}}), "open n;get n [];=x");
    config.Set(u"Register.Notification.NotificationId", u"N");
    EXPECT_EQ(Poll({{true, 304}}), "open N;get N [1];=-");
    config.WriteValue(u"Register.Register.DeviceId", u"other", 0);
    EXPECT_EQ(Poll({{true, 200, u"1", "y"}}), "open N;get N [1];=y");
    config.WriteValue(u"Register.Register.DeviceId", u"third", 0);
    config.Set(u"Services.Defaults.Type", u"getDataById");
    EXPECT_EQ(Poll({}), "=y") << "that of the answer before";
    config.DeleteValue(u"Register.Notification.NotificationId");
    EXPECT_EQ(Poll({}), "=-");
}

}  // namespace
}  // namespace orrery::test
