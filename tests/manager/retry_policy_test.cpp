#include "manager/retry_policy.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/text/numbers.h"
#include "platform/clock.h"

namespace orrery::test {
namespace {

constexpr int64_t day = 86'400;
constexpr int64_t start = 13'344'473'600;  // seconds on the system clock: 0 means no time
constexpr int64_t checkInterval = 15;

RetrySettings Settings(uint32_t maxRetries, uint64_t timeAlive = 15, uint32_t behaviour = 0,
                       const char16_t* cannotConnect = u"100") {
    return {maxRetries, timeAlive, 1800, cannotConnect, u"10", behaviour};
}

// Seconds count from the start. The server takes connections in each of `uptimes`, [from, until), and keeps
// them until its end. `expected`: at "30" an attempt failed, at "30+" it succeeded; "30!" is a bind event
// other than that of a new connection.
struct Scenario {
    const char* name;
    RetrySettings settings;
    std::vector<std::pair<int64_t, int64_t>> uptimes;
    std::vector<int64_t> newInterfaces;
    int64_t end;
    std::string expected;
};

// The manager's loop without its thread: a first attempt, then a check every 15 seconds.
class Device {
  public:
    explicit Device(const Scenario& scenario) : scenario(scenario) {}
    std::string Run() {
        for (StartChain(); (now += checkInterval) < scenario.end;) Check();
        return log;
    }

  private:
    int64_t Ticks() const { return (start + now) * platform::ticksPerSecond; }
    void Note(const char* mark) { log += (log.empty() ? "" : " ") + std::to_string(now) + mark; }
    void Bind() {
        if (policy.BindAllowed(scenario.settings)) Note("!");
    }
    void Check() {
        for (const int64_t at : scenario.newInterfaces) {
            if (now - checkInterval < at && at <= now) ++forcedAttempts;
        }
        if (now < connectedUntil) return policy.NoteUp(Ticks(), scenario.settings);
        if (policy.NoteDown(Ticks(), scenario.settings)) Bind();
        StartChain();
    }
    void StartChain() {
        if (!policy.ShouldAttempt(Ticks(), scenario.settings)) return;
        for (const auto& [from, until] : scenario.uptimes) {
            if (from <= now && now < until) connectedUntil = until;
        }
        Note(now < connectedUntil ? "+" : "");
        if (now < connectedUntil) {
            policy.bindPending = false;
            policy.NoteConnected(Ticks());
        } else if (policy.NoteFailed(Ticks(), scenario.settings)) {
            Bind();
        }
    }

    const Scenario& scenario;
    std::atomic<int32_t> forcedAttempts{0};
    RetryPolicy policy{[](const WideString& text) { return static_cast<uint32_t>(LeadingInt32(text)); },
                       forcedAttempts};
    int64_t now = 0;
    int64_t connectedUntil = 0;
    std::string log;
};

const Scenario scenarios[] = {
    {"ServerDown", Settings(2), {}, {}, 3810, "0 105 105! 1905 2010 2010!"},
    {"AnUnreadableIntervalIsThirtySeconds", Settings(2, 15, 0, u""), {}, {}, 1830, "0 30 30!"},
    {"NoRetriesMeansLongWaitsAndNoBind", Settings(0, 15, 1), {}, {}, 5400, "0 1800 3600"},
    {"OneRetryTellsAtOnce", Settings(1), {}, {}, 3600, "0 0! 1800 1800!"},
    {"LostAfterTwoDays", Settings(2), {{0, 172800}, {172900, day * 3}}, {}, day * 3, "0+ 172815 172920+"},
    // The fourth connection lives long enough to clear the count.
    {"ShortLivesCountAsFailures",
     Settings(2, 20, 1),
     {{0, 10}, {30, 40}, {1845, 1850}, {1875, 1900}},
     {},
     3705,
     "0+ 30+ 45! 1845+ 1875+ 1920 2025 2025!"},
    {"LossesAreToldOnlyWhenAsked", Settings(2, 20), {{0, 10}, {30, 40}}, {}, 3600, "0+ 30+ 1845 1950"},
    {"ForcedDuringShortWait", Settings(2), {}, {20}, 1800, "0 30 30!"},
    {"ForcedDuringLongWaitOneACheck", Settings(2), {}, {200, 201}, 2025, "0 105 105! 210 225"},
    {"LongWaitCountsFromTheForced", Settings(2), {}, {200}, 2145, "0 105 105! 210 2010 2115 2115!"},
    {"ASuccessForgetsWhatIsOwed", Settings(2), {{200, 300}}, {200, 201}, 450, "0 105 105! 210+ 315 420"},
};

TEST(RetryPolicyTest, AttemptsAndTellsAsWorkedOut) {
    for (const Scenario& scenario : scenarios) {
        EXPECT_EQ(Device(scenario).Run(), scenario.expected) << scenario.name;
    }
}

TEST(RetryPolicyTest, AWaitEndsWithItsLastSecond) {
    std::atomic<int32_t> none{0};
    RetryPolicy policy([](const WideString&) { return 60U; }, none);
    const int64_t failed = start * platform::ticksPerSecond, end = failed + 60 * platform::ticksPerSecond;
    policy.NoteFailed(failed, Settings(4));
    EXPECT_FALSE(policy.ShouldAttempt(failed - day * platform::ticksPerSecond, Settings(4))) << "set back";
    EXPECT_FALSE(policy.ShouldAttempt(end - 1, Settings(4)));
    EXPECT_TRUE(policy.ShouldAttempt(end, Settings(4)));
}

}  // namespace
}  // namespace orrery::test
