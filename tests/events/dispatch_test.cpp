#include <gmock/gmock.h>

#include "events/dispatcher_helper.h"
#include "events/event_scheduler.h"
#include "events/scheduler_helper.h"
#include "platform/error_codes.h"
#include "support/failing_memory.h"
#include "support/test_environment.h"

namespace orrery::test {
namespace {

using testing::HasSubstr;

using Events = std::vector<RaisedEvent>;

struct Dispatch : EnvironmentTest {
    static CMessageObject Parsed(const std::string& text) {
        CMessageObject object;
        EXPECT_TRUE(object.Parse(text)) << text;
        return object;
    }
    std::string TaskAdd(const WideString& offset, const WideString& start, const CScheduleInfo& info,
                        const WideString& source, const WideString& id) {
        CMessageObject request;
        const CMessageObject event = Parsed(R"({"Work":{"a":1}})");
        EXPECT_EQ(scheduler.BuildTaskAdd(request, event, offset, start, source, id, info), 0U);
        std::string text;
        EXPECT_TRUE(request.SerializeUtf8(text));
        return WithoutIds(text);
    }
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
}

TEST_F(Dispatch, ALoadWithoutMemoryIsTriedAgain) {
    uint32_t result = 0;
    bool wasWithout = false;
    auto fresh = std::make_unique<CDispatcherHelper>();
    const auto raise = [&] { result = fresh->RaiseEventText(u"{}", EventOrigin::Local); };
    FailEachAllocation(raise, [&](bool) {
        wasWithout |= result == NotEnoughMemory;
        if (result == NotEnoughMemory) raise();
        EXPECT_TRUE(result != 0 || environment.eventgate.uses == 1);
        fresh = std::make_unique<CDispatcherHelper>();
        EXPECT_EQ(environment.eventgate.uses, 0);
    });
    EXPECT_TRUE(wasWithout);
}

TEST_F(Dispatch, AListEndsAtItsFirstFailureAndAnArrayGoesOutAsOne) {
    CEventScheduler events(dispatcher);
    environment.eventgate.Answer({0, 31, 0, 32});
    EXPECT_EQ(dispatcher.RaiseEventList({u"1", u"2", u"3"}, EventOrigin::Remote), 31U);
    EXPECT_EQ(dispatcher.RaiseEventArray({u"", u"4", u"5"}, EventOrigin::Local), 0U);
    EXPECT_FALSE(events.Schedule(u"6", EventOrigin::Local));
    EXPECT_TRUE(events.ScheduleList({u"7", u"8"}, EventOrigin::Remote));
    EXPECT_EQ(
        environment.eventgate.Take(),
        (Events{{"1", false}, {"2", false}, {"[,4,5]", true}, {"6", true}, {"7", false}, {"8", false}}));
    EXPECT_EQ(environment.eventgate.uses, 1) << "loaded once";
    EXPECT_EQ(dispatcher.RaiseEventArray({}, EventOrigin::Local), InvalidParameter);
}

TEST_F(Dispatch, EventsOfOneSequenceBearItsStamps) {
    CEventSequence sequence(u"s"), scheduled(u"", u"task", u"now");
    EXPECT_EQ(sequence.AddEvent(Parsed(R"({"EventId":"old","a":1})")), 0U);
    const std::string first = R"({"EventId":"{id}","a":1,"EventSource":"s"})";
    EXPECT_EQ(WithoutIds(ToUtf8(sequence.ToText())), first);
    EXPECT_EQ(sequence.AddEvent(CMessageObject(u"N")), 0U);
    EXPECT_EQ(WithoutIds(ToUtf8(sequence.ToText())),
              "[" + first + R"(,{"N":{"EventId":"{id}","EventSource":"s"}}])");
    EXPECT_EQ(scheduled.AddEvent(CMessageObject(u"N")), 0U);
    EXPECT_EQ(WithoutIds(ToUtf8(scheduled.ToText())),
              R"({"N":{"EventId":"{id}","EventSchedulerId":"task","SchedulerExecutionTime":"now"}})");
}

TEST_F(Dispatch, AnActionThatJsonCannotTellDoesNotCostItsSiblings) {
    const std::pair<const char*, const char*> cases[] = {
        // A member between two good ones, and what is raised of it.
        {R"("A":{"b":[{"c":[]},[1,null]]})", R"({"A":{"b":[{"c":[]},[1,null]],"EventId":"{id}"}},)"},
        {R"("ä b":{"\u007f":1})", "{\"ä b\":{\"\x7f\":1,\"EventId\":\"{id}\"}},"},
        {R"("":{})", ""},
        {R"("quote\"":{})", ""},
        {R"("backslash\\":{})", ""},
        {R"("control\u001f":{})", ""},
        {R"("within an array":{"b":[{"":1}]})", ""}};
    for (const auto& [member, raised] : cases) {
        CEventSequence sequence(u"");
        auto reply = Parsed(R"({"Code":"c","Actions":{"F":{},)" + std::string(member) + R"(,"G":{}}})");
        EXPECT_EQ(sequence.AddActions(std::move(reply)), 0U) << member;
        EXPECT_EQ(WithoutIds(ToUtf8(sequence.ToText())),
                  R"([{"F":{"EventId":"{id}"}},)" + std::string(raised) + R"({"G":{"EventId":"{id}"}}])");
    }
}

TEST_F(Dispatch, WhatIsNoEventIsRefused) {
    CEventSequence sequence(u"s");
    const std::pair<const char*, uint32_t> replies[] = {
        {R"({"Actions":[{}]})", NoData},
        {R"({"Actions":{"a":1}})", NoData},
        {R"({"Actions":{"A":{"b":1e999}}})", InvalidParameter}};
    for (const auto& [reply, code] : replies) EXPECT_EQ(sequence.AddActions(Parsed(reply)), code) << reply;
    for (const CMessageObject& event : {Parsed("[]"), Parsed(R"({"\"":1})"), CMessageObject(u"\"")})
        EXPECT_EQ(sequence.AddEvent(event), InvalidParameter);
    EXPECT_TRUE(sequence.IsEmpty());
    EXPECT_EQ(sequence.AddEvent(CMessageObject(u"N")), 0U);
    EXPECT_EQ(sequence.AddActions(Parsed(R"({"Actions":{}})")), 0U) << "there is an event already";
}

TEST_F(Dispatch, ATaskSaysWhenAndHowOftenItRuns) {
    const std::string now = R"("StartTime":"%Now()%")";
    const struct {
        const char* what;
        CScheduleInfo info;
        std::string told;
        const char16_t* offset = u"";
        const char16_t* start = u"";
    } cases[] = {{"at once", {.localTime = true}, now},
                 {"an offset", {}, now + R"(,"Offset":"9")", u"9"},
                 {"a time", {}, R"("StartTime":"t")", u"", u"t"},
                 {"a local time", {.localTime = true}, R"("LocalTime":true,"StartTime":"t")", u"", u"t"},
                 {"a period goes first", {.repetition = 1, .days = {3}, .every = 9}, now + R"(,"Every":9)"},
                 {"an unknown kind", {.repetition = 7, .days = {3}, .every = 9}, now},
                 {"the others need days", {.repetition = 2}, now},
                 {"or a position from 1", {.repetition = 2, .position = 1}, now + R"(,"Repetition":2)"},
                 {"to 5", {.repetition = 3, .position = 5}, now + R"(,"Repetition":3)"},
                 {"and no further", {.repetition = 3, .position = 6}, now},
                 {"days", {.repetition = 3, .days = {1, 31}}, now + R"(,"Repetition":3,"Days":[1,31])"},
                 {"a Tuesday", {3, 2, {}, {2}}, now + R"(,"Repetition":3,"Position":2,"DaysOfWeek":[2])"}};
    for (const auto& [what, info, told, offset, start] : cases)
        EXPECT_THAT(TaskAdd(offset, start, info, u"s", u"name"), HasSubstr("\"ScheduleInfo\":{" + told + "}"))
            << what;

    const std::string rest = R"("Enabled":true,"ScheduleInfo":{)" + now + R"(},"Actions":{"Work":{"a":1}}}})";
    EXPECT_EQ(TaskAdd(u"", u"", {}, u"", u""), R"({"SchedulerTaskAdd":{"ScheduleId":"{id}",)" + rest);
    EXPECT_EQ(TaskAdd(u"", u"", {}, u"s", u"name"),
              R"({"SchedulerTaskAdd":{"EventSource":"s","FailIfExists":false,"ScheduleId":"name",)" + rest);
}

TEST_F(Dispatch, TasksAreNamedInWhatIsAskedOfThem) {
    config.Set(u"Scheduler.Tasks.there", u"{}");
    environment.eventgate.Answer({31, 32, 33});
    EXPECT_EQ(scheduler.RemoveTask(u"there"), 31U);
    EXPECT_EQ(scheduler.EnableTask(u"any"), 32U);
    EXPECT_EQ(scheduler.DisableTask(u"any"), 33U);
    EXPECT_EQ(environment.eventgate.Take(),
              (Events{{R"({"SchedulerTaskRemove":{"ScheduleId":"there"}})", true},
                      {R"({"SchedulerTaskEnable":{"ScheduleId":"any"}})", true},
                      {R"({"SchedulerTaskDisable":{"ScheduleId":"any"}})", true}}));
    EXPECT_EQ(scheduler.RemoveTask(u"gone") + scheduler.EnableTask(u""), 0U);
    EXPECT_EQ(scheduler.RemoveRetry(Parsed(R"({"Work":{"a":1e999}})")), InvalidParameter);
    EXPECT_TRUE(environment.eventgate.Take().empty());
}

TEST_F(Dispatch, RetryIsFoundByTheEventApartFromItsStamps) {
    WideString hash, other;
    const auto plain = Parsed(R"({"Work":{"a":{"EventId":"kept"}}})");
    EXPECT_EQ(
        scheduler.GetEventHash(plain, hash) + scheduler.GetEventHash(Parsed(R"({"Work":{"a":{}}})"), other),
        0U);
    EXPECT_NE(hash, other);
    const WideString task = u"Scheduler.Tasks.Retry Work " + hash;
    config.Set(task, u"no document");
    EXPECT_EQ(scheduler.RemoveRetry(plain), 0U);
    config.Set(task, u"[]");
    const auto stamped =
        Parsed(R"({"EventId":"x","Work":{"EventSource":"s","a":{"EventId":"kept"},"EventId":"y"}})");
    EXPECT_EQ(scheduler.RemoveRetry(stamped) + scheduler.ScheduleEvent(Parsed("{}"), 0, u"s"), 0U);
    const std::string removal =
        R"({"SchedulerTaskRemove":{"ScheduleId":"Retry Work )" + ToUtf8(hash) + "\"}}";
    EXPECT_EQ(environment.eventgate.Take(), (Events{{removal, true}, {"{}", true}}));
}

}  // namespace
}  // namespace orrery::test
