// Writes what happens, one line each: plain, or one JSON object a line. A line is one write and stays whole,
// whichever thread it comes from. Once the reader has gone everything is dropped silently; a reader that
// stops reading without going holds the writer up, as with any pipe.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "agent/events/execution_result.h"
#include "platform/mutex.h"

namespace orrery::agent {

class Printer {
  public:
    // `descriptor` isn't owned and outlives the printer.
    Printer(int descriptor, bool json) : output(descriptor), asJson(json) {}

    // All texts are UTF-8.
    void Raised(std::string_view name, std::string_view source, std::string_view text);
    void Executed(std::string_view name, std::string_view source, const ExecutionResult& result);
    void State(std::string_view state);

  private:
    enum class ResultKind : uint8_t { None, Number, Words };
    struct Line {
        std::string_view kind;
        std::string_view name;
        std::string_view source;
        ResultKind resultKind = ResultKind::None;
        std::string result;
        const std::string_view* text = nullptr;
    };
    void Print(const Line& line);
    void Write(std::string_view bytes);

    const int output;
    const bool asJson;
    Mutex mutex;
    bool readerGone GUARDED_BY(mutex) = false;
};

}  // namespace orrery::agent
