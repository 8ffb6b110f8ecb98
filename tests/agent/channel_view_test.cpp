#include "agent/status/channel_view.h"

#include <gtest/gtest.h>

#include <string>

namespace orrery::agent {
namespace {

using Span = std::optional<std::pair<int64_t, int64_t>>;  // milliseconds

// What happens, one letter each, a second apart from second 1 on:
//   B the manager's bind    T its connectivity test    C its check of commands    P a push
//   t a connectivity test raised by others    + - someone looks: the connection is there, is gone
//   [ ] a clear begins, ends
struct Case {
    const char* name;
    std::string events;
    std::optional<bool> up;
    int64_t at;  // seconds
    ChannelState state;
    RetryState retries;
    Span loss = {}, next = {};
};

void Play(ChannelHistory& history, char event, int64_t now) {
    if (event == 'B') history.OnRaised(u"DeviceBind", u"", false, now);
    if (event == 'T' || event == 't') history.OnRaised(u"ConnectivityTest", u"", event == 't', now);
    if (event == 'C') history.OnRaised(u"CheckCommands", u"", false, now);
    if (event == 'P') history.OnRaised(u"Any", u"RealTime", false, now);
    if (event == '+' || event == '-') history.OnLookedAt(event == '+', now);
    if (event == '[') history.OnExecuting(u"RealtimeClear");
    if (event == ']') history.OnExecuted(u"RealtimeClear", 0);
}

TEST(ChannelView, SaysWhatTheEventsTellAndNoMore) {
    using enum ChannelState;
    constexpr RetryState None = RetryState::None;
    constexpr RetryState AtMaximum = RetryState::AtMaximum;
    constexpr RetryState Open = RetryState::Unknown;
    constexpr std::nullopt_t no = std::nullopt;
    const Case cases[] = {
        {"first attempts used up", "B", no, 9, Connecting, AtMaximum, no, {{1801'000, 1816'000}}},
        {"connected long enough", "BT", true, 40, Connected, None},
        {"a test raised by others is no connect", "t", no, 9, Connecting, Open},
        {"found lost twice is one loss", "BTPP--", false, 9, Lost, Open, {{4000, 5000}}},
        {"lost, and no retries", "BT-B", false, 9, Lost, AtMaximum, {{2000, 3000}}, {{1804'000, 1819'000}}},
        {"back after a loss that nobody saw", "BT+BTC", true, 9, Connected, Open, {{3000, 5000}}},
        {"a rebuilt channel was not lost", "BT[B]BT", true, 9, Connected, Open},
        {"the bind of a clear says nothing of retries", "BT[B]", false, 9, Lost, Open},
    };
    for (const Case& item : cases) {
        SCOPED_TRACE(item.name);
        ChannelHistory history(nullptr);
        int64_t second = 0;
        for (const char event : item.events) Play(history, event, ++second * 1000);
        ChannelFacts facts;
        facts.up = item.up;
        facts.notes = history.Notes();
        const ChannelView view = ViewChannel(facts, item.at * 1000);
        EXPECT_EQ(view.state, item.state);
        EXPECT_EQ(view.retries, item.retries);
        EXPECT_EQ(view.lastLoss, item.loss);
        EXPECT_EQ(view.nextAttempt, item.next);
    }
}

}  // namespace
}  // namespace orrery::agent
