#include "agent/channel_view.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace orrery::agent {
namespace {

// What happens, one letter each, a second apart from second 1 on:
//   B the manager's bind    T its connectivity test    C its check of commands    P a push
//   t a connectivity test raised by others    + - someone looks: the connection is there, is gone
//   [ ] a clear begins, ends    x the channel is switched off by event    E the settings switch it
struct Case {
    const char* name;
    const char* events;
    std::optional<bool> up;
    int64_t at;  // seconds
    ChannelState state;
    RetryState retries;
    std::optional<int64_t> lossAfter, lossBefore, nextFrom;  // seconds
};

void Play(ChannelHistory& history, char event, int64_t now) {
    switch (event) {
        case 'B':
            return history.OnRaised(u"DeviceBind", u"", false, now);
        case 'T':
            return history.OnRaised(u"ConnectivityTest", u"", false, now);
        case 'C':
            return history.OnRaised(u"CheckCommands", u"", false, now);
        case 'P':
            return history.OnRaised(u"Any", u"RealTime", false, now);
        case 't':
            return history.OnRaised(u"ConnectivityTest", u"", true, now);
        case '+':
            return history.OnLookedAt(true, now);
        case '-':
            return history.OnLookedAt(false, now);
        case '[':
            return history.OnExecuting(u"RealtimeClear");
        case ']':
            return history.OnExecuted(u"RealtimeClear", 0);
        case 'x':
            history.OnExecuting(u"RealtimeDisable");
            return history.OnExecuted(u"RealtimeDisable", 0);
        case 'E':
            return history.OnConfigChange(u"Realtime", u"Notifications", u"Enabled", u"0", u"1");
        default:
            FAIL() << event;
    }
}

TEST(ChannelView, SaysWhatTheEventsTellAndNoMore) {
    using enum ChannelState;
    constexpr RetryState None = RetryState::None;
    constexpr RetryState AtMaximum = RetryState::AtMaximum;
    constexpr RetryState Open = RetryState::Unknown;
    constexpr std::nullopt_t no = std::nullopt;
    const Case cases[] = {
        {"nothing heard yet", "", no, 9, Connecting, Open, no, no, no},
        {"first attempts used up", "B", no, 9, Connecting, AtMaximum, no, no, 1801},
        {"long wait over", "B", no, 1900, Connecting, Open, no, no, no},
        {"just connected", "BT", true, 9, Connected, Open, no, no, no},
        {"connected long enough", "BT", true, 40, Connected, None, no, no, no},
        {"a test raised by others is no connect", "t", no, 9, Connecting, Open, no, no, no},
        {"it can't be told whether it is up", "BT", no, 9, ChannelState::Unknown, Open, no, no, no},
        {"found lost", "BTPP-", false, 9, Lost, Open, 4, 5, no},
        {"found lost twice is one loss", "BTP--", false, 9, Lost, Open, 3, 4, no},
        {"lost, and the retries used up", "BT-B", false, 9, Lost, AtMaximum, 2, 3, 1804},
        {"back after a loss that was seen", "BT-BTC", true, 9, Connected, Open, 2, 3, no},
        {"back after a loss that nobody saw", "BT+BTC", true, 9, Connected, Open, 3, 5, no},
        {"a rebuilt channel was not lost", "BT[B]BT", true, 9, Connected, Open, no, no, no},
        {"the bind of a clear says nothing of retries", "BT[B]", false, 9, Lost, Open, no, no, no},
        {"after a clear the retries can be used up", "BT[B]B", false, 9, Lost, AtMaximum, no, no, 1806},
        {"switched off by event", "BTxB", false, 9, Disabled, Open, no, no, no},
        {"a change of the settings begins anew", "BEB", no, 9, Connecting, Open, no, no, no},
    };
    for (const Case& item : cases) {
        SCOPED_TRACE(item.name);
        ChannelHistory history(nullptr);
        int64_t second = 0;
        for (const char event : std::string(item.events)) Play(history, event, ++second * 1000);
        ChannelFacts facts;
        facts.up = item.up;
        facts.notes = history.Notes();
        const ChannelView view = ViewChannel(facts, item.at * 1000);
        EXPECT_EQ(view.state, item.state);
        EXPECT_EQ(view.retries, item.retries);
        EXPECT_EQ(view.lastLoss.has_value(), item.lossAfter.has_value());
        if (view.lastLoss && item.lossAfter) {
            EXPECT_EQ(view.lastLoss->first, *item.lossAfter * 1000);
            EXPECT_EQ(view.lastLoss->second, *item.lossBefore * 1000);
        }
        EXPECT_EQ(view.nextAttempt.has_value(), item.nextFrom.has_value());
        if (view.nextAttempt && item.nextFrom) {
            EXPECT_EQ(view.nextAttempt->first, *item.nextFrom * 1000);
            EXPECT_EQ(view.nextAttempt->second, (*item.nextFrom + 15) * 1000);
        }
    }
}

}  // namespace
}  // namespace orrery::agent
