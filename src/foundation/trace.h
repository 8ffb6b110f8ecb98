// The module's traces: for those who debug it, never part of what it does. A call costs one relaxed load
// while nobody listens. Safe from any thread.
//
//     Trace::Error("the library can't be loaded", path, code);
#pragma once

#include <atomic>
#include <concepts>
#include <cstdint>
#include <new>
#include <string>

#include "contracts/wide_string.h"

namespace orrery {

class Trace {
  public:
    // What a message is, and where it stands: file and line are its identity.
    struct Message {
        template <size_t N>
        constexpr Message(const char (&words)[N], const char* atFile = __builtin_FILE(),
                          uint32_t atLine = __builtin_LINE())
            : text(words), file(atFile), line(atLine) {}
        const char* text;
        const char* file;
        uint32_t line;
    };

    template <class... Payload>
    static void Error(Message message, const Payload&... payload) {
        Write(LevelError, FlagGeneral, message, payload...);
    }
    template <class... Payload>
    static void Warning(Message message, const Payload&... payload) {
        Write(LevelWarning, FlagGeneral, message, payload...);
    }
    template <class... Payload>
    static void Information(Message message, const Payload&... payload) {
        Write(LevelInformation, FlagGeneral, message, payload...);
    }
    template <class... Payload>
    static void Verbose(Message message, const Payload&... payload) {
        Write(LevelVerbose, FlagGeneral, message, payload...);
    }

    // Entry and exit of a function, at the highest level and under a flag of their own.
    class Scope {
      public:
        explicit Scope(Message function) : function(function) {
            Write(LevelVerbose, FlagFunctions, function, "enter");
        }
        ~Scope() { Write(LevelVerbose, FlagFunctions, function, "exit"); }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

      private:
        Message function;
    };

    // At the module's attach and detach.
    static void Register();
    static void Unregister();

  private:
    enum Level : uint8_t { LevelError = 2, LevelWarning = 3, LevelInformation = 4, LevelVerbose = 5 };
    enum Flag : uint32_t { FlagGeneral = 1, FlagFunctions = 2 };

    template <class... Payload>
    static void Write(Level level, Flag flag, const Message& message, const Payload&... payload) {
        if (!Enabled(level, flag)) return;
        try {
            std::string record(message.text);
            (Append(record, payload), ...);
            WriteRecord(level, message, record);
        } catch (const std::bad_alloc&) {  // the record is lost, and nothing else
        }
    }
    static bool Enabled(Level level, Flag flag) {
        const uint64_t word = session.load(std::memory_order_relaxed);
        return (word & flag) != 0 && (word >> 32) >= level;
    }

    static void Append(std::string& record, const char* text);
    static void Append(std::string& record, const std::string& text);
    static void Append(std::string& record, const char16_t* text);
    static void Append(std::string& record, const WideString& text);
    template <std::integral Number>
    static void Append(std::string& record, Number number) {
        record += ' ';
        record += std::to_string(number);
    }

    static void WriteRecord(Level level, const Message& message, const std::string& record);
    static void OnEnable(uint8_t level, uint32_t flags);

    // The level in the upper half, the flags in the lower; 0 while nobody listens.
    static inline std::atomic<uint64_t> session{0};
};

}  // namespace orrery
