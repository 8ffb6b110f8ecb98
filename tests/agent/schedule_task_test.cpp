#include "agent/schedule_task.h"

#include <gtest/gtest.h>

#include "agent/scheduler.h"

namespace orrery::agent {
namespace {

constexpr int64_t now = 1'767'225'600'000;  // 2026-01-01T00:00:00Z
constexpr int64_t minute = 60'000;

int64_t TwoHoursEast(int64_t) {
    return 7200;
}

CMessageObject Body(const std::string& info, const std::string& further = R"("Actions":{"A":{}})") {
    CMessageObject body;
    EXPECT_TRUE(body.Parse(R"({"ScheduleId":"t","ScheduleInfo":)" + info + "," + further + "}")) << info;
    return body;
}

TEST(ScheduleTask, StartTimesAndDelays) {
    struct Case {
        const char* info;
        uint32_t result;
        int64_t next;  // from now
    };
    const Case cases[] = {
        {R"({"StartTime":"%Now()%","Offset":"1800"})", 0, 30 * minute},
        {R"({"StartTime":"%Now()%"})", 0, 0},
        {R"({})", 0, 0},
        {R"({"StartTime":"%Now()%","Offset":90})", 0, 90'000},
        {R"({"StartTime":"2026-01-01T01:00:00Z"})", 0, 60 * minute},
        {R"({"StartTime":"2026-01-01T01:00:00+01:00","Offset":"60"})", 0, minute},
        {R"({"StartTime":"2025-12-31T23:59:59.250"})", 0, -750},
        {R"({"StartTime":"2026-01-01T03:00","LocalTime":true})", 0, 60 * minute},
        {R"({"StartTime":"2026-01-01T03:00Z","LocalTime":true})", 0, 180 * minute},
        {R"({"StartTime":"2026-02-30T00:00:00Z"})", 87, 0},
        {R"({"StartTime":"tomorrow"})", 87, 0},
        {R"({"StartTime":"2026-01-01T00:00:00Zx"})", 87, 0},
        {R"({"Offset":"-5"})", 87, 0},
        {R"({"Offset":"5m"})", 87, 0},
        {R"({"Offset":"9223372036854775807"})", 87, 0},
        {R"({"Every":60})", 0, 0},
        {R"({"Every":60,"Repetition":1})", 0, 0},
        {R"({"Every":-1})", 87, 0},
        {R"({"Every":true})", 87, 0},
        {R"({"Repetition":2,"DaysOfWeek":[1]})", 87, 0},
        {R"([])", 87, 0},
    };
    for (const Case& item : cases) {
        SCOPED_TRACE(item.info);
        ScheduleTask task;
        EXPECT_EQ(ReadTaskRequest(Body(item.info), now, TwoHoursEast, task), item.result);
        if (item.result == 0) {
            EXPECT_EQ(task.next - now, item.next);
        }
    }
}

TEST(ScheduleTask, StoredTextKeepsTheRequestAndTheState) {
    ScheduleTask task;
    ASSERT_EQ(
        ReadTaskRequest(Body(R"({"Every":60,"Offset":"5"})", R"("Enabled":true,"Actions":{"A":{"x":1}})"),
                        now, TwoHoursEast, task),
        0u);
    task.enabled = false;
    const WideString text = StoredTaskText(task);
    EXPECT_EQ(ToUtf8(text), R"({"ScheduleId":"t","ScheduleInfo":{"Every":60,"Offset":"5"},"Enabled":false,)"
                            R"("Actions":{"A":{"x":1}},"NextTime":"2026-01-01T00:00:05.000Z"})");
    ScheduleTask again;
    ASSERT_TRUE(ReadStoredTask(text, again));
    EXPECT_EQ(StoredTaskText(again), text);
    EXPECT_EQ(again.every, minute);
    EXPECT_FALSE(again.enabled);
}

TEST(ScheduleTask, EventsBearTheTaskAndKeepTheirOwnSource) {
    ScheduleTask task;
    ASSERT_EQ(ReadTaskRequest(
                  Body("{}", R"("EventSource":"T","Actions":{"A":{"EventSource":"own"},"n":1,"B":{"x":[]}})"),
                  now, TwoHoursEast, task),
              0u);
    const auto events = TaskEvents(task);
    ASSERT_EQ(events.size(), 2u);
    std::string text;
    events[0].SerializeUtf8(text);
    EXPECT_EQ(text, R"({"A":{"EventSource":"own"}})");
    events[1].SerializeUtf8(text);
    EXPECT_EQ(text, R"({"B":{"x":[],"EventSource":"T"}})");
}

TEST(Scheduler, MissedRunsCollapseAndKeepTheirBeat) {
    ScheduleTask task;
    task.next = now;
    EXPECT_FALSE(Scheduler::AfterRun(task, now));
    task.every = minute;
    EXPECT_EQ(Scheduler::AfterRun(task, now)->next, now + minute);
    EXPECT_EQ(Scheduler::AfterRun(task, now + minute)->next, now + 2 * minute);
    EXPECT_EQ(Scheduler::AfterRun(task, now + 600 * minute + 1)->next, now + 601 * minute);
}

TEST(Scheduler, AClockSetBackDoesNotPostponeWhatStartedNow) {
    Scheduler scheduler;
    ScheduleTask fromNow, atMoment;
    ASSERT_EQ(ReadTaskRequest(Body(R"({"Offset":"60"})"), now, TwoHoursEast, fromNow), 0u);
    ASSERT_EQ(ReadTaskRequest(Body(R"({"StartTime":"2026-01-01T00:01:00Z"})"), now, TwoHoursEast, atMoment),
              0u);
    atMoment.id = u"u";
    scheduler.Put(fromNow);
    scheduler.Put(atMoment);
    EXPECT_TRUE(scheduler.OverlongWaits(now).empty());
    const auto shortened = scheduler.OverlongWaits(now - 500 * minute);
    ASSERT_EQ(shortened.size(), 1u);
    EXPECT_EQ(shortened[0].id, u"t");
    EXPECT_EQ(shortened[0].next, now - 499 * minute);
}

}  // namespace
}  // namespace orrery::agent
