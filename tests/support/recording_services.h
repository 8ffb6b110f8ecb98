// What stands behind the test libraries Eventgate and Tracebox: they write down what they are told. Safe from
// any thread.
#pragma once

#include <atomic>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "contracts/eventgate.h"
#include "contracts/tracebox.h"
#include "platform/mutex.h"

namespace orrery::test {

// With "{id}" in place of every id that was made for it.
std::string WithoutIds(std::string text);

class RecordingEventgate final : public IEventgate {
  public:
    using Event = std::pair<std::string, bool>;  // text in UTF-8, and the flag

    // What has been raised since the last call.
    std::vector<Event> Take();
    // Waits until `count` events are there to take; false if they don't come within 10 seconds.
    bool WaitFor(size_t count);
    // Results of the next raisings; then 0 again. The text is written down whatever the result.
    void Answer(std::deque<uint32_t> results);

    void SetReceiver(IEventReceiver*) override {}
    uint32_t Dispatch(const WideString& text, bool flag) override;

    std::atomic<int> uses{0};  // objects given out and not given back

  private:
    Mutex mutex;
    ConditionVariable raised;
    std::vector<Event> events GUARDED_BY(mutex);
    std::deque<uint32_t> answers GUARDED_BY(mutex);
};

class RecordingTracebox final : public ITracebox {
  public:
    // The lines since the last call: "level message", in UTF-8.
    std::vector<std::string> Take();

    void LogArguments(int32_t level, const char* format, const LogArgument* arguments, size_t count) override;

    std::atomic<int> uses{0};

  private:
    Mutex mutex;
    std::vector<std::string> lines GUARDED_BY(mutex);
};

}  // namespace orrery::test
