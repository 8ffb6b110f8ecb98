// The log service, Tracebox.dll: messages for the operator. Safe from any thread.
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>

#include "contracts/wide_string.h"

namespace orrery {

enum LogLevel : int32_t { LogInformation = 10, LogWarning = 20, LogError = 30 };

// One argument of a log line, with its kind, so that a format which asks for too much finds nothing to
// misread. It doesn't own the text.
struct LogArgument {
    enum class Kind : uint8_t { Signed, Unsigned, Narrow, Wide };

    template <std::signed_integral T>
    LogArgument(T number) : kind(Kind::Signed), signedValue(number) {}
    template <std::unsigned_integral T>
    LogArgument(T number) : kind(Kind::Unsigned), unsignedValue(number) {}
    LogArgument(const char* text) : kind(Kind::Narrow), narrow(text) {}
    LogArgument(const std::string& text) : LogArgument(text.c_str()) {}
    LogArgument(const char16_t* text) : kind(Kind::Wide), wide(text) {}
    LogArgument(const WideString& text) : LogArgument(text.c_str()) {}

    Kind kind;
    union {
        int64_t signedValue;
        uint64_t unsignedValue;
        const char* narrow;
        const char16_t* wide;
    };
};

class ITracebox {
  public:
    virtual ~ITracebox() = default;
    // Writes one line before it returns, and reports no failure. `format` in the manner of printf: %ws wide
    // text, %s narrow text, %d, %u, %x, %%; a directive without an argument stays as it is, an argument
    // of another kind is written in its own manner. Texts are used during the call only.
    virtual void LogArguments(int32_t level, const char* format, const LogArgument* arguments,
                              size_t count) = 0;

    // The same for arguments in their own types.
    template <class... Arguments>
    void Log(int32_t level, const char* format, const Arguments&... arguments) {
        const std::array<LogArgument, sizeof...(arguments)> list{LogArgument(arguments)...};
        LogArguments(level, format, list.data(), list.size());
    }
};

// The module tolerates a missing log service everywhere.
template <class... Arguments>
void LogTo(ITracebox* tracebox, LogLevel level, const char* format, const Arguments&... arguments) {
    if (tracebox) tracebox->Log(level, format, arguments...);
}

// Exported as "GetITracebox" and "FreeITracebox": every call gives the process's one object, or null, and it
// goes with the last FreeITracebox, which clears the caller's pointer.
using GetITraceboxFunction = ITracebox* (*)();
using FreeITraceboxFunction = void (*)(ITracebox**);

}  // namespace orrery
