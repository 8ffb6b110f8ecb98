#include <gtest/gtest.h>

#include <future>

#include "events/dispatcher_helper.h"
#include "events/event_control.h"
#include "events/event_scheduler.h"
#include "events/scheduler_helper.h"
#include "platform/error_codes.h"
#include "support/failing_memory.h"
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
    std::string TaskAdd(const WideString& offset, const WideString& start, const CScheduleInfo& info,
                        const WideString& source, const WideString& id) {
        CMessageObject request;
        const CMessageObject event = Parsed(R"({"Work":{"a":1}})");
        EXPECT_EQ(scheduler.BuildTaskAdd(request, event, offset, start, source, id, info), 0U);
        std::string text;
        EXPECT_TRUE(request.SerializeUtf8(text));
        return WithoutIds(text);
    }
    std::string ScheduleInfo(const WideString& offset, const WideString& start, const CScheduleInfo& info) {
        const std::string text = TaskAdd(offset, start, info, u"s", u"name"), open = "\"ScheduleInfo\":{";
        const size_t begin = text.find(open) + open.size();
        return text.substr(begin, text.find('}', begin) - begin);
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
    EXPECT_FALSE(events.ScheduleList({}, EventOrigin::Local));
    EXPECT_EQ(dispatcher.RaiseEventArray({}, EventOrigin::Local), InvalidParameter);
    EXPECT_EQ(dispatcher.RaiseEvent(Parsed("[1e999]"), EventOrigin::Local), InvalidParameter);
}

TEST(EventControl, EachModeExcludesInItsOwnWay) {
    CEventControl nothing(ControlNothing), refuse(ControlRefuse), wait(ControlWait), unknown(3);
    EXPECT_TRUE(nothing.Acquire() && nothing.Acquire());
    nothing.Release();
    EXPECT_FALSE(unknown.Acquire());
    EXPECT_TRUE(refuse.Acquire());
    { const CAutoEventControl loser(refuse); }
    EXPECT_FALSE(refuse.Acquire()) << "who didn't get it doesn't release it";
    refuse.Release();
    EXPECT_TRUE(refuse.Acquire());
    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(wait.Acquire());
        auto second = std::async(std::launch::async, [&wait] {
            CAutoEventControl control(wait);
            return control.acquired = wait.Acquire();
        });
        EXPECT_EQ(second.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
        wait.Release();
        EXPECT_TRUE(second.get());
    }
}

TEST_F(Dispatch, EventsOfOneSequenceBearItsStamps) {
    CEventSequence sequence(u"s"), scheduled(u"", u"task", u"now");
    EXPECT_EQ(sequence.AddEvent(Parsed(R"({"EventId":"old","a":1})")), 0U);
    const std::string first = R"({"EventId":"{id}","a":1,"EventSource":"s"})";
    EXPECT_EQ(WithoutIds(ToUtf8(sequence.ToText())), first);
    const WideString id = sequence.ToText().substr(12, 38);
    EXPECT_EQ(sequence.AddEvent(CMessageObject(u"N")), 0U);
    EXPECT_EQ(WithoutIds(ToUtf8(sequence.ToText())),
              "[" + first + R"(,{"N":{"EventId":"{id}","EventSource":"s"}}])");
    EXPECT_NE(sequence.ToText().find(id), sequence.ToText().rfind(id)) << "the same";
    EXPECT_EQ(scheduled.AddEvent(CMessageObject(u"N")), 0U);
    EXPECT_EQ(WithoutIds(ToUtf8(scheduled.ToText())),
              R"({"N":{"EventId":"{id}","EventSchedulerId":"task","SchedulerExecutionTime":"now"}})");
}

TEST_F(Dispatch, AnActionThatJsonCannotTellDoesNotCostItsSiblings) {
    const std::pair<const char*, const char*> cases[] = {
        // A member between two good ones, and what is raised of it.
        {R"("A":{"b":[{"c":[]},[1,null]]})", R"({"A":{"b":[{"c":[]},[1,null]],"EventId":"{id}"}},)"},
        {R"("ä b":{"\u007f":1})", "{\"ä b\":{\"\x7f\":1,\"EventId\":\"{id}\"}},"},
        {R"("number":1)", ""},
        {R"("array":[{}])", ""},
        {R"("":{})", ""},
        {R"("quote\"":{})", ""},
        {R"("backslash\\":{})", ""},
        {R"("control\u001f":{})", ""},
        {R"("within":{"b":{"\"":1}})", ""},
        {R"("within an array":{"b":[{"":1}]})", ""},
    };
    for (const auto& [member, raised] : cases) {
        CEventSequence sequence(u"");
        auto reply = Parsed(R"({"Code":"c","Actions":{"F":{},)" + std::string(member) + R"(,"G":{}}})");
        EXPECT_EQ(sequence.AddActions(std::move(reply)), 0U) << member;
        EXPECT_EQ(WithoutIds(ToUtf8(sequence.ToText())),
                  R"([{"F":{"EventId":"{id}"}},)" + std::string(raised) + R"({"G":{"EventId":"{id}"}}])");
        WideString rest;
        EXPECT_TRUE(reply.Serialize(rest) && rest == u"{\"Code\":\"c\"}") << "what isn't taken stays";
    }
}

TEST_F(Dispatch, WhatIsNoEventIsRefused) {
    CEventSequence sequence(u"s");
    const std::pair<const char*, uint32_t> replies[] = {
        {"{}", NoData},
        {R"({"Actions":[{}]})", NoData},
        {R"({"Actions":"x"})", NoData},
        {R"({"Actions":{"a":1}})", NoData},
        {R"({"Actions":{"A":{"b":1e999}}})", InvalidParameter}};
    for (const auto& [reply, code] : replies) EXPECT_EQ(sequence.AddActions(Parsed(reply)), code) << reply;
    CMessageObject named;
    named.AddArray(u"a")->AddString(u"key in an array", u"");
    for (const CMessageObject& event : {named, Parsed("[]"), Parsed(R"({"\"":1})"), CMessageObject(u"\"")})
        EXPECT_EQ(sequence.AddEvent(event), InvalidParameter);
    EXPECT_TRUE(sequence.IsEmpty());
    EXPECT_EQ(sequence.AddEvent(CMessageObject(u"N")), 0U);
    EXPECT_EQ(sequence.AddActions(Parsed(R"({"Actions":{}})")), 0U) << "there is an event already";
}

TEST_F(Dispatch, ATaskSaysWhenAndHowOftenItRuns) {
    const std::string now = R"("StartTime":"%Now()%")";
    const struct {
        const char16_t *offset, *start;
        bool local;
        std::string info;
    } starts[] = {{u"", u"", true, now},
                  {u"0", u"", false, now},
                  {u"9", u"", false, now + R"(,"Offset":"9")"},
                  {u"", u"t", false, R"("StartTime":"t")"},
                  {u"", u"t", true, R"("LocalTime":true,"StartTime":"t")"}};
    for (const auto& [offset, start, local, info] : starts)
        EXPECT_EQ(ScheduleInfo(offset, start, {.localTime = local}), info);

    const struct {
        const char* what;
        CScheduleInfo info;
        std::string repetition = {};
    } repetitions[] = {
        {"a period", {.every = 9}, R"(,"Every":9)"},
        {"a period goes first", {.repetition = 1, .days = {3}, .every = 9}, R"(,"Every":9)"},
        {"an unknown kind", {.repetition = 7, .days = {3}, .every = 9}},
        {"the first kind", {.repetition = 1}, R"(,"Repetition":1)"},
        {"the others need days", {.repetition = 2}},
        {"or a position from 1", {.repetition = 2, .position = 1}, R"(,"Repetition":2)"},
        {"to 5", {.repetition = 3, .position = 5}, R"(,"Repetition":3)"},
        {"and no further", {.repetition = 3, .position = 6}},
        {"days", {.repetition = 3, .position = 2, .days = {1, 31}}, R"(,"Repetition":3,"Days":[1,31])"},
        {"of the week", {2, 0, {1}, {2, 4}}, R"(,"Repetition":2,"DaysOfWeek":[2,4])"},
        {"a Tuesday", {3, 2, {}, {2}}, R"(,"Repetition":3,"Position":2,"DaysOfWeek":[2])"},
    };
    for (const auto& [what, info, repetition] : repetitions)
        EXPECT_EQ(ScheduleInfo(u"", u"", info), now + repetition) << what;

    const std::string rest = R"("Enabled":true,"ScheduleInfo":{)" + now + R"(},"Actions":{"Work":{"a":1}}}})";
    EXPECT_EQ(TaskAdd(u"", u"", {}, u"", u""), R"({"SchedulerTaskAdd":{"ScheduleId":"{id}",)" + rest);
    EXPECT_EQ(TaskAdd(u"", u"", {}, u"s", u"name"),
              R"({"SchedulerTaskAdd":{"EventSource":"s","FailIfExists":false,"ScheduleId":"name",)" + rest);
}

TEST_F(Dispatch, TasksAreNamedInWhatIsAskedOfThem) {
    environment.config.Set(u"Scheduler.Tasks.there", u"{}");
    environment.eventgate.Answer({31, 32, 33});
    EXPECT_EQ(scheduler.RemoveTask(u"there"), 31U);
    EXPECT_EQ(scheduler.EnableTask(u"any"), 32U);
    EXPECT_EQ(scheduler.DisableTask(u"any"), 33U);
    EXPECT_EQ(environment.eventgate.Take(),
              (Events{{R"({"SchedulerTaskRemove":{"ScheduleId":"there"}})", true},
                      {R"({"SchedulerTaskEnable":{"ScheduleId":"any"}})", true},
                      {R"({"SchedulerTaskDisable":{"ScheduleId":"any"}})", true}}));
    for (const char16_t* none : {u"", u"gone"}) EXPECT_EQ(scheduler.RemoveTask(none), 0U);
    EXPECT_EQ(scheduler.EnableTask(u"") + scheduler.DisableTask(u""), 0U);
    CMessageObject request;
    EXPECT_FALSE(scheduler.BuildTaskRemove(u"", request));
    const CMessageObject notWritable = Parsed(R"({"Work":{"a":1e999}})");
    EXPECT_EQ(scheduler.ScheduleEvent(notWritable, 5, u"s"), InvalidParameter);
    EXPECT_EQ(scheduler.RemoveRetry(notWritable), InvalidParameter);
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
