#include "support/recording_services.h"

#include <chrono>

#include "platform/text.h"
#include "standins/tracebox/log_line.h"

namespace orrery::test {

std::string WithoutIds(std::string text) {
    constexpr size_t digits = 36;
    for (size_t at = text.find('{'); at != text.npos; at = text.find('{', at + 1)) {
        const size_t end = text.find_first_not_of("0123456789abcdef-", at + 1);
        if (end == at + 1 + digits && text[end] == '}') text.replace(at + 1, digits, "id");
    }
    return text;
}

std::vector<RecordingEventgate::Event> RecordingEventgate::Take() {
    MutexLock lock(mutex);
    return std::exchange(events, {});
}

bool RecordingEventgate::WaitFor(size_t count) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    MutexLock lock(mutex);
    while (events.size() < count) {
        if (raised.wait_until(mutex, deadline) == std::cv_status::timeout) return events.size() >= count;
    }
    return true;
}

void RecordingEventgate::Answer(std::deque<uint32_t> results) {
    MutexLock lock(mutex);
    answers = std::move(results);
}

uint32_t RecordingEventgate::Dispatch(const WideString& text, bool flag) {
    MutexLock lock(mutex);
    events.emplace_back(ToUtf8(text), flag);
    raised.notify_all();
    if (answers.empty()) return 0;
    const uint32_t answer = answers.front();
    answers.pop_front();
    return answer;
}

std::vector<std::string> RecordingTracebox::Take() {
    MutexLock lock(mutex);
    return std::exchange(lines, {});
}

void RecordingTracebox::LogArguments(int32_t level, const char* format, const LogArgument* arguments,
                                     size_t count) {
    MutexLock lock(mutex);
    lines.push_back(std::to_string(level) + " " + tracebox::FormatLine(format, {arguments, count}));
}

}  // namespace orrery::test
