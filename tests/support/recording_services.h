// What stands behind the test libraries Eventgate and Tracebox: they write down what they are told. Safe from
// any thread.
#pragma once

#include <atomic>
#include <deque>

#include "contracts/eventgate.h"
#include "platform/text.h"
#include "standins/tracebox/log_line.h"
#include "support/call_log.h"

namespace orrery::test {

// With "{id}" in place of every id that was made for it.
inline std::string WithoutIds(std::string text) {
    constexpr size_t digits = 36;
    for (size_t at = text.find('{'); at != text.npos; at = text.find('{', at + 1)) {
        const size_t end = text.find_first_not_of("0123456789abcdef-", at + 1);
        if (end == at + 1 + digits && text[end] == '}') text.replace(at + 1, digits, "id");
    }
    return text;
}

using RaisedEvent = std::pair<std::string, bool>;  // text in UTF-8, and the flag

class RecordingEventgate final : public IEventgate, public Log<RaisedEvent> {
  public:
    // Results of the next raisings; then 0 again. The text is written down whatever the result.
    void Answer(std::deque<uint32_t> results) {
        MutexLock lock(mutex);
        answers = std::move(results);
    }

    void SetReceiver(IEventReceiver*) override {}
    uint32_t Dispatch(const WideString& text, bool flag) override {
        Note({ToUtf8(text), flag});
        MutexLock lock(mutex);
        if (answers.empty()) return 0;
        const uint32_t answer = answers.front();
        answers.pop_front();
        return answer;
    }

    std::atomic<int> uses{0};  // objects given out and not given back

  private:
    Mutex mutex;
    std::deque<uint32_t> answers GUARDED_BY(mutex);
};

// Lines are "level message", in UTF-8.
class RecordingTracebox final : public ITracebox, public Log<std::string> {
  public:
    void LogArguments(int32_t level, const char* format, const LogArgument* arguments,
                      size_t count) override {
        Note(std::to_string(level) + " " + tracebox::FormatLine(format, {arguments, count}));
    }

    std::atomic<int> uses{0};
};

}  // namespace orrery::test
