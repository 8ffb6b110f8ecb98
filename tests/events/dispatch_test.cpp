#include <gtest/gtest.h>

#include "events/dispatcher_helper.h"
#include "events/scheduler_helper.h"
#include "platform/error_codes.h"
#include "support/test_environment.h"

namespace orrery::test {
namespace {

using Events = std::vector<RecordingEventgate::Event>;

struct Dispatch : testing::Test {
    Dispatch() { environment.Reset(); }

    static CMessageObject Parsed(const std::string& text) {
        CMessageObject object;
        EXPECT_TRUE(object.Parse(text)) << text;
        return object;
    }

    TestEnvironment& environment = TestEnvironment::Get();
    CDispatcherHelper dispatcher;
    CSchedulerHelper scheduler{dispatcher};
};

TEST_F(Dispatch, FailedLoadIsToldOnce) {
    const std::pair<const char*, uint32_t> cases[] = {
        {"", DllNotFound}, {"no_exports", ProcedureNotFound}, {"null_objects", ObjectNotFound}};
    for (const auto& [library, code] : cases) {
        environment.Remove("Eventgate");
        if (code != DllNotFound) environment.Replace("Eventgate", library);
        CDispatcherHelper failing;
        EXPECT_EQ(failing.RaiseEventText({}, EventOrigin::Local), InvalidParameter) << "loads nothing";
        EXPECT_EQ(failing.RaiseEventText(u"{}", EventOrigin::Local), code);
        environment.Replace("Eventgate", "services");
        EXPECT_EQ(failing.RaiseEventText(u"{}", EventOrigin::Local), 0U);
    }
    environment.eventgate.Answer({0, 31});
    EXPECT_EQ(dispatcher.RaiseEventList({u"1", u"2", u"3"}, EventOrigin::Remote), 31U);
    EXPECT_EQ(dispatcher.RaiseEventArray({u"4", u"5"}, EventOrigin::Local), 0U);
    EXPECT_EQ(environment.eventgate.Take(), (Events{{"1", false}, {"2", false}, {"[4,5]", true}}));
    EXPECT_EQ(environment.eventgate.uses, 1) << "loaded once";
}

TEST_F(Dispatch, EventsOfOneSequenceBearItsStamps) {
    CEventSequence sequence(u"s");
    EXPECT_EQ(sequence.AddActions(Parsed(R"({"Actions":[{}]})")), NoData);
    EXPECT_EQ(sequence.AddActions(Parsed(R"({"Actions":{"a":1}})")), NoData);
    EXPECT_EQ(sequence.AddEvent(Parsed(R"({"EventId":"old","a":1})")), 0U);
    const WideString first = sequence.ToText(), id = first.substr(12, 38);
    EXPECT_EQ(first, u"{\"EventId\":\"" + id + u"\",\"a\":1,\"EventSource\":\"s\"}");
    EXPECT_TRUE(id.starts_with(u'{') && id.ends_with(u'}')) << ToUtf8(id);
    EXPECT_EQ(sequence.AddEvent(CMessageObject(u"N")), 0U);
    EXPECT_EQ(sequence.ToText(),
              u"[" + first + u",{\"N\":{\"EventId\":\"" + id + u"\",\"EventSource\":\"s\"}}]");
}

TEST_F(Dispatch, RetryIsFoundByTheEventApartFromItsStamps) {
    WideString hash, other;
    const auto plain = Parsed(R"({"Work":{"a":{"EventId":"kept"}}})");
    EXPECT_EQ(
        scheduler.GetEventHash(plain, hash) + scheduler.GetEventHash(Parsed(R"({"Work":{"a":{}}})"), other),
        0U);
    EXPECT_NE(hash, other);
    const WideString task = u"Scheduler.Tasks.Retry Work " + hash;
    environment.config.Set(task, u"no document");
    EXPECT_EQ(scheduler.RemoveRetry(plain), 0U);
    environment.config.Set(task, u"[]");
    const auto stamped =
        Parsed(R"({"EventId":"x","Work":{"EventSource":"s","a":{"EventId":"kept"},"EventId":"y"}})");
    EXPECT_EQ(scheduler.RemoveRetry(stamped) + scheduler.ScheduleEvent(Parsed("{}"), 0, u"s"), 0U);
    const std::string removal =
        R"({"SchedulerTaskRemove":{"ScheduleId":"Retry Work )" + ToUtf8(hash) + "\"}}";
    EXPECT_EQ(environment.eventgate.Take(), (Events{{removal, true}, {"{}", true}}));
}

}  // namespace
}  // namespace orrery::test
