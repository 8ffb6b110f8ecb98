#include "platform/tracing.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>

#include "platform/clock.h"
#include "platform/mutex.h"

namespace orrery::platform {

namespace {

constexpr size_t mostPayload = 8192;  // bytes

struct SessionSettings {
    uint8_t level = 0;
    uint32_t flags = 0;
    std::string path;
};

// Takes a number, decimal or 0x and hexadecimal, and the comma behind it.
template <class Number>
bool TakeNumber(std::string_view& text, Number& number) {
    const bool isHexadecimal = text.starts_with("0x");
    if (isHexadecimal) text.remove_prefix(2);
    const char* const end = text.data() + text.size();
    const auto [next, error] = std::from_chars(text.data(), end, number, isHexadecimal ? 16 : 10);
    if (error != std::errc() || next == end || *next != ',') return false;
    text.remove_prefix(static_cast<size_t>(next + 1 - text.data()));
    return true;
}

std::optional<SessionSettings> ReadSettings() {
    const char* const configured = std::getenv("ORRERY_TRACE");
    std::string_view text = configured ? configured : "";
    SessionSettings settings;
    if (!TakeNumber(text, settings.level) || !TakeNumber(text, settings.flags) || text.empty())
        return std::nullopt;
    settings.path = text;
    return settings;
}

// The one session of the process: the open file, or none.
class Session {
  public:
    bool Open(const std::string& path) EXCLUDES(mutex) {
        const MutexLock lock(mutex);
        CloseLocked();
        descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        return descriptor >= 0;
    }
    void Close() EXCLUDES(mutex) {
        const MutexLock lock(mutex);
        CloseLocked();
    }
    // One call for one line, so that lines of several processes don't mix. What can't be written is lost.
    void Write(const std::string& line) EXCLUDES(mutex) {
        const MutexLock lock(mutex);
        if (descriptor >= 0) [[maybe_unused]]
            const ssize_t ignored = ::write(descriptor, line.data(), line.size());
    }

  private:
    void CloseLocked() REQUIRES(mutex) {
        if (descriptor >= 0) ::close(descriptor);
        descriptor = -1;
    }

    Mutex mutex;
    int descriptor GUARDED_BY(mutex) = -1;
};

Session session;
std::atomic<TraceEnableCallback> enableCallback{nullptr};

std::string LineStart(uint8_t level) {
    const CalendarTime now = UtcTime();
    char text[80];
    const int size =
        std::snprintf(text, sizeof(text), "%04u-%02u-%02uT%02u:%02u:%02u.%03uZ %d %u ", now.year, now.month,
                      now.day, now.hour, now.minute, now.second, now.milliseconds, ::gettid(), level);
    return {text, static_cast<size_t>(size)};
}

void AppendOneLine(std::string& line, std::string_view payload) {
    for (const char character : payload) {
        if (character == '\n') {
            line += "\\n";
        } else if (character == '\r') {
            line += "\\r";
        } else {
            line += character;
        }
    }
}

}  // namespace

void RegisterTraceProvider(TraceEnableCallback callback) {
    const auto settings = ReadSettings();
    if (!settings || !session.Open(settings->path)) return;
    enableCallback = callback;
    callback(settings->level, settings->flags);
}

void UnregisterTraceProvider() {
    if (const TraceEnableCallback callback = enableCallback.exchange(nullptr)) callback(0, 0);
    session.Close();
}

void WriteTraceRecord(std::string_view source, uint32_t id, uint8_t level, std::string_view payload) {
    if (payload.size() > mostPayload) return;
    std::string line = LineStart(level);
    line.append(source).append(":").append(std::to_string(id)).append(" ");
    AppendOneLine(line, payload);
    line += '\n';
    session.Write(line);
}

}  // namespace orrery::platform
