#include "platform/clock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace orrery::platform {
namespace {

class FixedClock final : public Clock {
  public:
    FixedClock() { SetClock(this); }
    ~FixedClock() override { SetClock(nullptr); }
    int64_t SystemTicks() override { return ticks; }
    int64_t SteadyTicks() override { return 0; }
    int64_t LocalOffset(int64_t) override { return offset; }

    int64_t ticks = 0;
    int64_t offset = 0;
};

std::string Text(const CalendarTime& time) {
    std::string text;
    for (const int field : {time.year, time.month, time.dayOfWeek, time.day, time.hour, time.minute,
                            time.second, time.milliseconds}) {
        text += (text.empty() ? "" : " ") + std::to_string(field);
    }
    return text;
}

TEST(Clock, CalendarTimesOfKnownInstants) {
    const struct {
        int64_t ticks;
        int64_t offset;
        int64_t utcSeconds;
        const char* utc;
        const char* local;
    } cases[] = {
        {0, 0, -11644473600, "1601 1 1 1 0 0 0 0", "1601 1 1 1 0 0 0 0"},
        {116444736000000000, -3600, 0, "1970 1 4 1 0 0 0 0", "1969 12 3 31 23 0 0 0"},
        {116444735999999999, 0, -1, "1969 12 3 31 23 59 59 999", "1969 12 3 31 23 59 59 999"},
        {133536815999990000, 19800, 1709207999, "2024 2 4 29 11 59 59 999", "2024 2 4 29 17 29 59 999"},
    };
    FixedClock clock;
    for (const auto& [ticks, offset, utcSeconds, utc, local] : cases) {
        clock.ticks = ticks;
        clock.offset = offset;
        EXPECT_EQ(UtcSeconds(), utcSeconds);
        EXPECT_EQ(Text(UtcTime()), utc);
        EXPECT_EQ(Text(LocalTime()), local);
    }
}

TEST(Clock, TheSystemsClockIsBackAfterATest) {
    { const FixedClock clock; }
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    EXPECT_NEAR(static_cast<double>(UtcSeconds()), std::chrono::duration<double>(now).count(), 60);
}

}  // namespace
}  // namespace orrery::platform
