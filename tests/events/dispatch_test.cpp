#include <future>

#include "events/event_control.h"
#include "events/event_scheduler.h"
#include "platform/error_codes.h"
#include "support/failing_memory.h"
#include "tests/events/events_fixture.h"

namespace orrery::test {
namespace {

struct Dispatch : EventsTest {};

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
    EXPECT_TRUE(environment.eventgate.Take().empty());
}

TEST_F(Dispatch, AListEndsAtItsFirstFailureAndAnArrayGoesOutAsOne) {
    environment.eventgate.Answer({0, 31});
    EXPECT_EQ(dispatcher.RaiseEventList({u"1", u"2", u"3"}, EventOrigin::Remote), 31U);
    EXPECT_EQ(dispatcher.RaiseEventArray({u"", u"4", u"5"}, EventOrigin::Local), 0U);
    EXPECT_EQ(dispatcher.RaiseEventList({u"6", u"7"}, EventOrigin::Local), 0U);
    EXPECT_EQ(environment.eventgate.Take(),
              (Events{{"1", false}, {"2", false}, {"[,4,5]", true}, {"6", true}, {"7", true}}));
    EXPECT_EQ(environment.eventgate.uses, 1) << "loaded once";
    EXPECT_EQ(dispatcher.RaiseEventList({}, EventOrigin::Local), InvalidParameter);
    EXPECT_EQ(dispatcher.RaiseEventArray({}, EventOrigin::Local), InvalidParameter);
    EXPECT_EQ(dispatcher.RaiseEvent(Parsed("[1e999]"), EventOrigin::Local), InvalidParameter);

    CEventScheduler scheduler(dispatcher);
    environment.eventgate.Answer({31, 31});
    EXPECT_FALSE(scheduler.Schedule(u"8", EventOrigin::Local));
    EXPECT_FALSE(scheduler.ScheduleList({u"9", u"10"}, EventOrigin::Local));
    EXPECT_TRUE(scheduler.Schedule(u"11", EventOrigin::Remote));
    EXPECT_TRUE(scheduler.ScheduleList({u"12"}, EventOrigin::Remote));
    EXPECT_EQ(environment.eventgate.Take(), (Events{{"8", true}, {"9", true}, {"11", false}, {"12", false}}));
}

TEST_F(Dispatch, ALoadWithoutMemoryIsTriedAgain) {
    auto fresh = std::make_unique<CDispatcherHelper>();
    uint32_t result = 0;
    int withoutMemory = 0;
    const auto raise = [&] { result = fresh->RaiseEventText(u"{}", EventOrigin::Local); };
    FailEachAllocation(raise, [&](bool) {
        environment.eventgate.Take();
        if (result == NotEnoughMemory) {
            ++withoutMemory;
            raise();
            EXPECT_EQ(environment.eventgate.Take(), (Events{{"{}", true}}));
        }
        fresh = std::make_unique<CDispatcherHelper>();
        EXPECT_EQ(environment.eventgate.uses, 0);
    });
    EXPECT_EQ(result, Success);
    EXPECT_GT(withoutMemory, 1);
}

TEST(EventControl, EachModeExcludesInItsOwnWay) {
    CEventControl nothing(ControlNothing), refuse(ControlRefuse), wait(ControlWait), unknown(3);
    EXPECT_TRUE(nothing.Acquire() && nothing.Acquire());
    nothing.Release();
    EXPECT_FALSE(unknown.Acquire());

    EXPECT_TRUE(refuse.Acquire());
    EXPECT_FALSE(refuse.Acquire());
    { const CAutoEventControl loser(refuse); }
    EXPECT_FALSE(refuse.Acquire()) << "who didn't get it doesn't release it";
    refuse.Release();
    EXPECT_TRUE(refuse.Acquire());
    refuse.Release();

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

}  // namespace
}  // namespace orrery::test
