#include "events/scheduler_helper.h"

#include "platform/error_codes.h"
#include "tests/events/events_fixture.h"

namespace orrery::test {
namespace {

struct Scheduler : EventsTest {
    std::string TaskAdd(const WideString& offset, const WideString& startTime, const WideString& source,
                        const WideString& id, const CScheduleInfo& info) {
        CMessageObject request;
        EXPECT_EQ(scheduler.BuildTaskAdd(request, event, offset, startTime, source, id, info), 0U);
        std::string text;
        EXPECT_TRUE(request.SerializeUtf8(text));
        return text;
    }

    CSchedulerHelper scheduler{dispatcher};
    const CMessageObject event = Parsed(R"({"Work":{"a":1}})");
};

TEST_F(Scheduler, ATaskSaysWhenAndHowOftenItRuns) {
    const struct {
        const char* what;
        WideString offset = {}, startTime = {};
        CScheduleInfo info = {};
        std::string scheduleInfo;
    } cases[] = {
        {.what = "at once", .scheduleInfo = R"("StartTime":"%Now()%")"},
        {.what = "no offset", .offset = u"0", .scheduleInfo = R"("StartTime":"%Now()%")"},
        {.what = "later", .offset = u"9", .scheduleInfo = R"("StartTime":"%Now()%","Offset":"9")"},
        {.what = "at a time", .startTime = u"t", .scheduleInfo = R"("StartTime":"t")"},
        {.what = "at a local time",
         .startTime = u"t",
         .info = {.localTime = true},
         .scheduleInfo = R"("LocalTime":true,"StartTime":"t")"},
        {.what = "now is not local", .info = {.localTime = true}, .scheduleInfo = R"("StartTime":"%Now()%")"},
        {.what = "every 9 s", .info = {.every = 9}, .scheduleInfo = R"("StartTime":"%Now()%","Every":9)"},
        {.what = "a period alone counts",
         .info = {.repetition = 1, .days = {3}, .every = 9},
         .scheduleInfo = R"("StartTime":"%Now()%","Every":9)"},
        {.what = "an unknown repetition",
         .info = {.repetition = 7, .days = {3}, .every = 9},
         .scheduleInfo = R"("StartTime":"%Now()%")"},
        {.what = "the first kind always repeats",
         .info = {.repetition = 1},
         .scheduleInfo = R"("StartTime":"%Now()%","Repetition":1)"},
        {.what = "the second needs days",
         .info = {.repetition = 2},
         .scheduleInfo = R"("StartTime":"%Now()%")"},
        {.what = "or a position, from 1 on",
         .info = {.repetition = 2, .position = 1},
         .scheduleInfo = R"("StartTime":"%Now()%","Repetition":2)"},
        {.what = "to 5",
         .info = {.repetition = 3, .position = 5},
         .scheduleInfo = R"("StartTime":"%Now()%","Repetition":3)"},
        {.what = "and no further",
         .info = {.repetition = 3, .position = 6},
         .scheduleInfo = R"("StartTime":"%Now()%")"},
        {.what = "days",
         .info = {.repetition = 3, .position = 2, .days = {1, 31}},
         .scheduleInfo = R"("StartTime":"%Now()%","Repetition":3,"Days":[1,31])"},
        {.what = "days of the week go before days",
         .info = {.repetition = 2, .days = {1}, .daysOfWeek = {2, 4}},
         .scheduleInfo = R"("StartTime":"%Now()%","Repetition":2,"DaysOfWeek":[2,4])"},
        {.what = "the second Tuesday",
         .info = {.repetition = 3, .position = 2, .daysOfWeek = {2}},
         .scheduleInfo = R"("StartTime":"%Now()%","Repetition":3,"Position":2,"DaysOfWeek":[2])"},
    };
    for (const auto& [what, offset, startTime, info, scheduleInfo] : cases) {
        EXPECT_EQ(TaskAdd(offset, startTime, u"s", u"id", info),
                  R"({"SchedulerTaskAdd":{"EventSource":"s","FailIfExists":false,"ScheduleId":"id",)"
                  R"("Enabled":true,"ScheduleInfo":{)" +
                      scheduleInfo + R"(},"Actions":{"Work":{"a":1}}}})")
            << what;
    }
    std::string unnamed = TaskAdd(u"", u"", u"", u"", {});
    const std::string id = unnamed.substr(35, 38);
    EXPECT_TRUE(id.starts_with('{') && id.ends_with('}')) << id;
    EXPECT_EQ(unnamed.replace(35, 38, "new"),
              R"({"SchedulerTaskAdd":{"ScheduleId":"new","Enabled":true,)"
              R"("ScheduleInfo":{"StartTime":"%Now()%"},"Actions":{"Work":{"a":1}}}})");
}

TEST_F(Scheduler, TasksAreNamedInWhatIsAskedOfThem) {
    environment.config.Set(u"Scheduler.Tasks.there", u"{}");
    const Events expected{{R"({"SchedulerTaskRemove":{"ScheduleId":"there"}})", true},
                          {R"({"SchedulerTaskEnable":{"ScheduleId":"any"}})", true},
                          {R"({"SchedulerTaskDisable":{"ScheduleId":"any"}})", true}};
    environment.eventgate.Answer({31, 32, 33});
    EXPECT_EQ(scheduler.RemoveTask(u"there"), 31U);
    EXPECT_EQ(scheduler.EnableTask(u"any"), 32U);
    EXPECT_EQ(scheduler.DisableTask(u"any"), 33U);
    EXPECT_EQ(scheduler.RemoveTask(u"gone") + scheduler.RemoveTask(u""), 0U);
    EXPECT_EQ(scheduler.EnableTask(u"") + scheduler.DisableTask(u""), 0U);
    EXPECT_EQ(environment.eventgate.Take(), expected);
    CMessageObject request;
    EXPECT_FALSE(scheduler.BuildTaskRemove(u"", request));
    EXPECT_TRUE(request.items.empty());
    const CMessageObject notWritable = Parsed(R"({"Work":{"a":1e999}})");
    WideString hash;
    EXPECT_EQ(scheduler.ScheduleEvent(notWritable, 5, u"s"), InvalidParameter);
    EXPECT_EQ(scheduler.GetEventHash(notWritable, hash), InvalidParameter);
    EXPECT_EQ(scheduler.RemoveRetry(notWritable), InvalidParameter);
    EXPECT_TRUE(environment.eventgate.Take().empty());
}

TEST_F(Scheduler, RetryIsFoundByTheEventApartFromItsStamps) {
    WideString hash, other;
    const auto plain = Parsed(R"({"Work":{"a":{"EventId":"kept"}}})");
    EXPECT_EQ(scheduler.GetEventHash(plain, hash), 0U);
    EXPECT_EQ(scheduler.GetEventHash(Parsed(R"({"Work":{"a":{}}})"), other), 0U);
    EXPECT_NE(hash, other);
    const WideString task = u"Scheduler.Tasks.Retry Work " + hash;
    environment.config.Set(task, u"no document");
    EXPECT_EQ(scheduler.RemoveRetry(plain), 0U);
    environment.config.Set(task, u"[]");
    const auto stamped =
        Parsed(R"({"EventId":"x","Work":{"EventSource":"s","a":{"EventId":"kept"},"EventId":"y"}})");
    EXPECT_EQ(scheduler.RemoveRetry(stamped), 0U);
    EXPECT_EQ(scheduler.ScheduleEvent(Parsed("{}"), 0, u"s"), 0U) << "at once, and no task";
    const std::string removal =
        R"({"SchedulerTaskRemove":{"ScheduleId":"Retry Work )" + ToUtf8(hash) + "\"}}";
    EXPECT_EQ(environment.eventgate.Take(), (Events{{removal, true}, {"{}", true}}));
}

}  // namespace
}  // namespace orrery::test
