#include "agent/status/channel_view.h"

namespace orrery::agent {

namespace {

ChannelState StateOf(const ChannelFacts& facts) {
    if (!facts.enabled || facts.notes.switchedOff) return ChannelState::Disabled;
    if (!facts.configured) return ChannelState::NotConfigured;
    if (!facts.notes.lastConnect) return ChannelState::Connecting;
    if (!facts.up) return ChannelState::Unknown;
    return *facts.up ? ChannelState::Connected : ChannelState::Lost;
}

// The module forgets its retries at the first check that finds the connection old enough.
void ViewConnected(const ChannelFacts& facts, int64_t now, ChannelView& view) {
    constexpr int64_t slack = 1;  // seconds, for the check itself
    const int64_t settled = (facts.successfulTimeAlive + facts.checkInterval + slack) * 1000;
    view.connectedSince = facts.notes.lastConnect;
    if (now - *facts.notes.lastConnect >= settled) view.retries = RetryState::None;
}

// The long wait counts from the failure that used the retries up, and ends at the check that follows it.
void ViewWaiting(const ChannelFacts& facts, int64_t now, ChannelView& view) {
    if (!facts.notes.retriesUsedUp) return;
    const int64_t from = *facts.notes.retriesUsedUp + facts.retriesWait * 1000;
    const int64_t to = from + facts.checkInterval * 1000;
    if (now > to) return;
    view.retries = RetryState::AtMaximum;
    view.nextAttempt = {from, to};
}

}  // namespace

ChannelView ViewChannel(const ChannelFacts& facts, int64_t now) {
    ChannelView view{.state = StateOf(facts), .connectedSince = {}, .lastLoss = {}, .nextAttempt = {}};
    const ChannelNotes& notes = facts.notes;
    if (notes.lossAfter && notes.lossBefore) view.lastLoss = {*notes.lossAfter, *notes.lossBefore};
    if (view.state == ChannelState::Connected) ViewConnected(facts, now, view);
    if (view.state == ChannelState::Connecting || view.state == ChannelState::Lost)
        ViewWaiting(facts, now, view);
    return view;
}

}  // namespace orrery::agent
