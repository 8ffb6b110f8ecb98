#include "manager/retry_policy.h"

#include "platform/clock.h"

namespace orrery {

namespace {

constexpr uint64_t defaultRetryInterval = 30;  // seconds

// Whole seconds from `then` to `now`; a clock that was set back counts as no time.
uint64_t Elapsed(int64_t then, int64_t now) {
    const int64_t seconds = (now - then) / platform::ticksPerSecond;
    return seconds > 0 ? static_cast<uint64_t>(seconds) : 0;
}

}  // namespace

void RetryPolicy::Clear() {
    retries = 0;
    connectTime = 0;
    lostTime = 0;
}

void RetryPolicy::NoteUp(int64_t now, const RetrySettings& settings) {
    if (Elapsed(connectTime, now) >= settings.successfulTimeAlive) retries = 0;
}

bool RetryPolicy::NoteDown(int64_t now, const RetrySettings& settings) {
    if (lostTime != 0) return false;
    lostTime = now;
    bool usedUp = false;
    if (Elapsed(connectTime, lostTime) >= settings.successfulTimeAlive) {
        retries = 0;
    } else {
        usedUp = CountFailure(settings);
    }
    SetRetryInterval(settings.lostConnectionRetriesInterval);
    return usedUp;
}

bool RetryPolicy::ShouldAttempt(int64_t now, const RetrySettings& settings) {
    if (forcedAttempts > 0) {
        --forcedAttempts;
        return true;
    }
    const uint64_t elapsed = Elapsed(lostTime, now);
    if (retries < settings.maxConnectionRetries) return elapsed >= retryInterval;
    if (elapsed < settings.retriesWait) return false;
    retries = 0;
    return true;
}

void RetryPolicy::NoteConnected(int64_t now) {
    forcedAttempts = 0;
    connectTime = now;
    lostTime = 0;
}

bool RetryPolicy::NoteFailed(int64_t now, const RetrySettings& settings) {
    const bool usedUp = CountFailure(settings);
    SetRetryInterval(settings.cannotConnectRetriesInterval);
    connectTime = now;
    lostTime = now;
    return usedUp;
}

bool RetryPolicy::BindAllowed(const RetrySettings& settings) const {
    return settings.behaviourOnLostConnection == 1 ||
           (settings.behaviourOnLostConnection == 0 && bindPending);
}

void RetryPolicy::SetRetryInterval(const WideString& interval) {
    retryInterval = evaluate(interval);
    if (retryInterval == 0) retryInterval = defaultRetryInterval;
}

bool RetryPolicy::CountFailure(const RetrySettings& settings) {
    ++retries;
    return retries == settings.maxConnectionRetries;
}

}  // namespace orrery
