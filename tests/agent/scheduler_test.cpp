#include "agent/schedule/scheduler.h"

#include <gtest/gtest.h>

#include "agent/schedule/scheduler_service.h"
#include "support/fake_config_util.h"
#include "support/recording_services.h"
#include "support/test_clock.h"

namespace orrery::agent {
namespace {

constexpr int64_t today = 1'767'225'600;  // 2026-01-01T00:00:00Z, in seconds
constexpr int64_t now = today * 1000;
constexpr int64_t minute = 60'000;
const WideString key = u"Scheduler.Tasks.t";

CMessageObject Body(const std::string& info, const std::string& further = R"("Actions":{"A":{}})") {
    CMessageObject body;
    EXPECT_TRUE(body.Parse(R"({"ScheduleId":"t","ScheduleInfo":)" + info + "," + further + "}")) << info;
    return body;
}

TEST(ScheduleTask, StartTimesAndDelays) {
    const std::pair<const char*, int64_t> good[] = {
        {R"({})", 0},  // from now
        {R"({"StartTime":"%Now()%","Offset":"1800"})", 30 * minute},
        {R"({"StartTime":"2026-01-01T01:00:00+01:00","Offset":"60"})", minute},
        {R"({"StartTime":"2026-01-01T23:59:59.2509-00:30"})", 1470 * minute - 750},
        {R"({"StartTime":"2026-01-01 00:00:00.5Z"})", 500},
        {R"({"StartTime":"2026-01-01T03:00","LocalTime":true})", 60 * minute},
    };
    test::TestClock clock;
    clock.offset = 7200;
    ScheduleTask task;
    for (const auto& [info, next] : good) {
        EXPECT_EQ(ReadTaskRequest(Body(info), now, task), 0u) << info;
        EXPECT_EQ(task.next - now, next) << info;
    }
    for (const char* info :
         {R"({"StartTime":"2026-02-30T00:00:00Z"})", R"({"StartTime":"2026-01-01T00:00:00Zx"})",
          R"({"StartTime":"2026-01-01T24:00Z"})", R"({"StartTime":"2026-01-01T00:00+00:60"})",
          R"({"Offset":"-5"})", R"({"Offset":"5m"})", R"({"Offset":"9223372036854775807"})",
          R"({"Every":-1})", R"({"Every":true})", R"({"Repetition":2,"DaysOfWeek":[1]})", "[]"}) {
        EXPECT_EQ(ReadTaskRequest(Body(info), now, task), 87u) << info;
    }
}

TEST(Scheduler, AClockSetBackDoesNotPostponeWhatStartedNow) {
    Scheduler scheduler;
    ScheduleTask fromNow, atMoment;
    ReadTaskRequest(Body(R"({"Offset":"60"})"), now, fromNow);
    ReadTaskRequest(Body(R"({"StartTime":"2026-01-01T00:01:00Z"})"), now, atMoment);
    atMoment.id = u"u";
    scheduler.Put(fromNow);
    scheduler.Put(atMoment);
    EXPECT_TRUE(scheduler.OverlongWaits(now).empty());
    const auto shortened = scheduler.OverlongWaits(now - 500 * minute);
    ASSERT_EQ(shortened.size(), 1u);
    EXPECT_EQ(shortened[0].id, u"t");
    EXPECT_EQ(shortened[0].next, now - 499 * minute);
}

class SchedulerServiceTest : public testing::Test {
  protected:
    uint32_t Request(const char16_t* name, const std::string& text) {
        CMessageObject body;
        EXPECT_TRUE(body.Parse(text)) << text;
        return service->Handle(name, body);
    }
    uint32_t Add(const std::string& info, const std::string& further = "") {
        return Request(u"SchedulerTaskAdd",
                       R"({"ScheduleId":"t","Actions":{"A":{"EventSource":"own"},"n":1,"B":{"x":[]}},)" +
                           further + R"("EventSource":"T","ScheduleInfo":)" + info + "}");
    }
    uint32_t Change(const char16_t* name, const std::string& id = "t") {
        return Request(name, R"({"ScheduleId":")" + id + "\"}");
    }
    // Whether the task runs, with all its events; they bear its source if they have none of their own.
    // Those of a task that runs once come in envelopes, of which `run` is the last.
    bool RunsAt(int64_t time) {
        clock.SetUtc(time);
        service->RunDue();
        std::vector<std::string> raised;
        for (const auto& [text, flag] : eventgate.Take()) {
            CMessageObject document;
            EXPECT_TRUE(document.Parse(text));
            const CMessageObject* body = nullptr;
            const bool enclosed = document.GetObject(taskRunName, body);
            if (enclosed) run = SchedulerService::RunOf(*body);
            CMessageObject event(enclosed ? *SchedulerService::EventOf(*body) : document);
            event.name.clear();
            event.SerializeUtf8(raised.emplace_back());
        }
        if (raised.size() != 2) return false;
        EXPECT_EQ(raised[0], R"({"A":{"EventSource":"own"}})");
        EXPECT_EQ(raised[1], R"({"B":{"x":[],"EventSource":"T"}})");
        return true;
    }
    // Both events have been executed, and the note of that has come.
    void EndRun() {
        service->Executed(run);
        EXPECT_TRUE(eventgate.Take().empty());
        service->Executed(run);
        EXPECT_EQ(eventgate.Take().size(), 1u);
        service->PutAway(run);
    }

    test::TestClock clock{today};
    test::FakeConfigUtil store;
    test::RecordingEventgate eventgate;
    WakeTimer timer;
    TaskRun run;
    std::optional<SchedulerService> service{std::in_place, store, eventgate, timer};
};

TEST_F(SchedulerServiceTest, AnExistingTaskIsReplacedOrKeptAndGoneAfterItsOneRun) {
    EXPECT_EQ(Add(R"({"Offset":"60"})"), 0u);
    EXPECT_EQ(Add(R"({"Offset":"5"})", R"("FailIfExists":true,)"), 183u);
    EXPECT_FALSE(RunsAt(today + 5));
    EXPECT_EQ(Add(R"({"Offset":"7"})", R"("FailIfExists":false,)"), 0u);
    EXPECT_FALSE(RunsAt(today + 11));
    EXPECT_TRUE(RunsAt(today + 12));
    EXPECT_FALSE(RunsAt(today + 999));
    EndRun();
    EXPECT_FALSE(store.Value(key));
}

TEST_F(SchedulerServiceTest, ATaskIsKeptUntilItsEventsHaveBeenExecuted) {
    EXPECT_EQ(Add(R"({"Offset":"5"})"), 0u);
    EXPECT_TRUE(RunsAt(today + 5));
    service.emplace(store, eventgate, timer);  // killed meanwhile
    service->Restore({{key, store.Value(key).value()}});
    EXPECT_TRUE(RunsAt(today + 6));
    EXPECT_EQ(Add(R"({"Offset":"50"})"), 0u);  // what the execution asks for stays
    service->Executed(run);
    service->PutAway(run);
    EXPECT_TRUE(RunsAt(today + 56));
    EXPECT_EQ(Change(u"SchedulerTaskRemove"), 0u);
    EXPECT_FALSE(store.Value(key));
}

TEST_F(SchedulerServiceTest, TasksAndTheirStateOutliveTheAgentAndOverdueOnesRunAtOnce) {
    const auto restart = [this] {
        service.emplace(store, eventgate, timer);
        service->Restore({{key, *store.Value(key)},
                          {u"Scheduler.Tasks.odd", u"not a task"},
                          {u"Scheduler.Tasks.other", *store.Value(key)}});
        EXPECT_TRUE(eventgate.Take().empty());
    };
    EXPECT_EQ(Add(R"({"Every":60,"Offset":"60"})"), 0u);
    EXPECT_EQ(Change(u"SchedulerTaskDisable"), 0u);
    restart();
    EXPECT_FALSE(RunsAt(today + 601));
    EXPECT_EQ(Change(u"SchedulerTaskEnable"), 0u);
    EXPECT_TRUE(RunsAt(today + 601));
    restart();
    EXPECT_FALSE(RunsAt(today + 659));
    EXPECT_TRUE(RunsAt(today + 660));
}

TEST_F(SchedulerServiceTest, TakesUpWhatOthersWriteToTheStore) {
    Add(R"({"Offset":60})");
    const WideString text = store.Value(key).value();
    Change(u"SchedulerTaskRemove");
    store.Set(key, text);
    service->OnConfigChange(u"Scheduler", u"Tasks", u"t", u"", text.c_str());
    EXPECT_TRUE(RunsAt(today + 60));
}

}  // namespace
}  // namespace orrery::agent
