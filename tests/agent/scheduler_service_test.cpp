#include "agent/scheduler_service.h"

#include <gmock/gmock.h>

#include "support/fake_config_util.h"
#include "support/recording_services.h"
#include "support/test_clock.h"

namespace orrery::agent {
namespace {

using testing::HasSubstr;

constexpr int64_t now = 1'767'225'600;  // 2026-01-01T00:00:00Z, in seconds
const WideString key = u"Scheduler.Tasks.t";

class SchedulerServiceTest : public testing::Test {
  protected:
    uint32_t Request(const char16_t* name, const std::string& text) {
        CMessageObject body;
        EXPECT_TRUE(body.Parse(text)) << text;
        return service.Handle(name, body);
    }
    uint32_t Add(const std::string& info, const std::string& further = "") {
        return Request(u"SchedulerTaskAdd", R"({"ScheduleId":"t",)" + further + R"("ScheduleInfo":)" + info +
                                                R"(,"Actions":{"A":{}}})");
    }
    uint32_t Change(const char16_t* name, const std::string& id = "t") {
        return Request(name, R"({"ScheduleId":")" + id + "\"}");
    }
    size_t RunsAt(int64_t time) {
        clock.SetUtc(time);
        service.RunDue();
        raised = eventgate.Take();
        return raised.size();
    }

    test::TestClock clock{now};
    test::FakeConfigUtil store;
    test::RecordingEventgate eventgate;
    std::vector<test::RecordingEventgate::Event> raised;
    WakeTimer timer;
    SchedulerService service{store, eventgate, timer};
};

TEST_F(SchedulerServiceTest, OneRunThenTheTaskIsGone) {
    EXPECT_EQ(Add(R"({"Offset":"60"})"), 0u);
    EXPECT_TRUE(store.Value(key));
    EXPECT_EQ(RunsAt(now + 59), 0u);
    EXPECT_EQ(RunsAt(now + 60), 1u);
    EXPECT_FALSE(store.Value(key));
    EXPECT_EQ(RunsAt(now + 999), 0u);
}

TEST_F(SchedulerServiceTest, ExistingIdIsReplacedOrRefused) {
    EXPECT_EQ(Add(R"({"Offset":"60"})"), 0u);
    EXPECT_EQ(Add(R"({"Offset":"5"})", R"("FailIfExists":true,)"), 183u);
    EXPECT_EQ(RunsAt(now + 5), 0u);
    clock.SetUtc(now);
    EXPECT_EQ(Add(R"({"Offset":"5"})", R"("FailIfExists":false,)"), 0u);
    EXPECT_EQ(RunsAt(now + 5), 1u);
}

TEST_F(SchedulerServiceTest, SwitchedOffAndOnAndRemoved) {
    EXPECT_EQ(Change(u"SchedulerTaskEnable"), 1168u);
    EXPECT_EQ(Add(R"({"Every":60})"), 0u);
    EXPECT_EQ(Change(u"SchedulerTaskDisable"), 0u);
    EXPECT_EQ(RunsAt(now + 200), 0u);
    EXPECT_EQ(Change(u"SchedulerTaskEnable"), 0u);
    EXPECT_EQ(RunsAt(now + 200), 1u);
    EXPECT_EQ(RunsAt(now + 239), 0u);
    EXPECT_EQ(RunsAt(now + 240), 1u);
    EXPECT_EQ(Change(u"SchedulerTaskRemove"), 0u);
    EXPECT_EQ(Change(u"SchedulerTaskRemove"), 1168u);
    EXPECT_EQ(Change(u"SchedulerTaskRemove", ""), 87u);
    EXPECT_EQ(Request(u"SchedulerTaskAdd", R"({"ScheduleId":"t","ScheduleInfo":{},"Actions":{"A":1}})"), 87u);
    EXPECT_FALSE(store.Value(key));
}

TEST_F(SchedulerServiceTest, TasksOutliveTheAgentAndOverdueOnesRunAtOnce) {
    EXPECT_EQ(Add(R"({"Every":60,"Offset":"60"})"), 0u);
    SchedulerService next(store, eventgate, timer);
    store.Set(u"Scheduler.Tasks.odd", u"not a task");
    next.Restore({{key, *store.Value(key)}, {u"Scheduler.Tasks.odd", u"not a task"}});
    clock.SetUtc(now + 601);
    next.RunDue();
    EXPECT_EQ(eventgate.Take().size(), 1u);
    EXPECT_THAT(ToUtf8(*store.Value(key)), HasSubstr("2026-01-01T00:11:00.000Z"));
    EXPECT_EQ(store.Value(u"Scheduler.Tasks.odd"), u"not a task");
}

TEST_F(SchedulerServiceTest, EditsByHandAreSeenWhenTheTaskIsDue) {
    EXPECT_EQ(Add(R"({"Offset":"60"})"), 0u);
    store.DeleteValue(key);
    EXPECT_EQ(RunsAt(now + 60), 0u);
    EXPECT_EQ(Change(u"SchedulerTaskRemove"), 1168u);

    EXPECT_EQ(Add(R"({"Offset":"60"})"), 0u);
    store.Set(key, u"{}");
    EXPECT_EQ(RunsAt(now + 999), 0u);
    EXPECT_EQ(store.Value(key), u"{}");
}

TEST_F(SchedulerServiceTest, WhatTheStoreRefusesIsNotTaken) {
    store.FailWrites(1, 5);
    EXPECT_EQ(Add(R"({"Offset":"1"})"), 5u);
    EXPECT_EQ(RunsAt(now + 60), 0u);
}

}  // namespace
}  // namespace orrery::agent
