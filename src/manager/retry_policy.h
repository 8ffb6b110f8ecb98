// When to attempt a connection, when to wait, and when the loss of the channel is to be told. It knows no
// thread, no socket and no clock: time is given to it. It doesn't attempt anything itself. Used by one thread
// at a time.
//
// While the channel is down there are two waits: the short one (`retryInterval`, drawn after each failure)
// until `maxConnectionRetries` attempts have failed in a row, then the long one (`retriesWait`). An attempt
// is also made at once for each interface that came up meanwhile (`forcedAttempts`).
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>

#include "contracts/wide_string.h"

namespace orrery {

// Durations are seconds.
struct RetrySettings {
    uint32_t maxConnectionRetries = 2;
    uint64_t successfulTimeAlive = 15;
    uint64_t retriesWait = 1800;
    WideString cannotConnectRetriesInterval;  // interval texts, drawn anew for each wait
    WideString lostConnectionRetriesInterval;
    uint32_t behaviourOnLostConnection = 0;
};

class RetryPolicy {
  public:
    // Seconds of an interval text; 0 if it can't be told.
    using Evaluate = std::function<uint32_t(const WideString& interval)>;

    // `forcedAttempts` counts the interfaces that came up, on whatever thread; it outlives the policy.
    RetryPolicy(Evaluate evaluate, std::atomic<int32_t>& forcedAttempts)
        : evaluate(std::move(evaluate)), forcedAttempts(forcedAttempts) {}

    // A chain is built anew: its first attempt goes out at once.
    void Clear();
    // The chain was stopped: no attempt is owed any more.
    void ForgetForced() { forcedAttempts = 0; }

    // A check found the channel up, or down. NoteDown gives true if that used up the retries.
    void NoteUp(int64_t now, const RetrySettings& settings);
    bool NoteDown(int64_t now, const RetrySettings& settings);
    // Whether to attempt now. Uses up one forced attempt, or the long wait.
    bool ShouldAttempt(int64_t now, const RetrySettings& settings);
    void NoteConnected(int64_t now);
    // True if that used up the retries.
    bool NoteFailed(int64_t now, const RetrySettings& settings);

    // Whether a bind event that isn't forced goes out.
    bool BindAllowed(const RetrySettings& settings) const;

    uint32_t Retries() const { return retries; }
    uint64_t RetryInterval() const { return retryInterval; }
    bool LossNoted() const { return lostTime != 0; }

    // No connection has been made since the state last changed.
    bool bindPending = true;

  private:
    void SetRetryInterval(const WideString& interval);
    // One more failure; true if that made it the last one that the short wait covers.
    bool CountFailure(const RetrySettings& settings);

    const Evaluate evaluate;
    uint64_t retryInterval = 30;  // seconds
    uint32_t retries = 0;         // failed attempts and short-lived connections in a row
    int64_t connectTime = 0;      // ticks; last successful start or last failed attempt, 0: none
    int64_t lostTime = 0;         // ticks; when the loss or failure was noticed, 0 while connected
    std::atomic<int32_t>& forcedAttempts;
};

}  // namespace orrery
