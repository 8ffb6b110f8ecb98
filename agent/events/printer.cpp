#include "agent/events/printer.h"

#include <unistd.h>

#include <cerrno>
#include <nlohmann/json.hpp>

#include "agent/text/utc_text.h"

namespace orrery::agent {

namespace {

std::string PadTo(std::string_view text, size_t width) {
    std::string padded(text);
    if (padded.size() < width) padded.resize(width, ' ');
    return padded;
}

}  // namespace

void Printer::Raised(std::string_view name, std::string_view source, std::string_view text) {
    Print({.kind = "raised", .name = name, .source = source, .result = {}, .text = &text});
}

void Printer::Executed(std::string_view name, std::string_view source, const ExecutionResult& result) {
    const auto kind = result.problem.empty() ? ResultKind::Number : ResultKind::Words;
    Print({.kind = "executed", .name = name, .source = source, .resultKind = kind, .result = result.Text()});
}

void Printer::State(std::string_view state) {
    Print({.kind = "state",
           .name = "agent",
           .source = {},
           .resultKind = ResultKind::Words,
           .result = std::string(state)});
}

void Printer::Print(const Line& line) {
    const std::string time = UtcText(NowMilliseconds());
    if (!asJson) {
        // A name or source comes from outside: a line break in it would make two lines of one.
        std::string words = time + "  " + PadTo(line.kind, 8) + "  " + PadTo(line.name, 20);
        words += "  source=" + std::string(line.source) + "  result=" + line.result;
        for (char& character : words) {
            if (static_cast<unsigned char>(character) < ' ') character = ' ';
        }
        Write(words + "\n");
        return;
    }
    nlohmann::ordered_json object{{"time", time},
                                  {"kind", line.kind},
                                  {"name", line.name},
                                  {"source", line.source},
                                  {"result", nullptr}};
    if (line.resultKind == ResultKind::Words) object["result"] = line.result;
    if (line.resultKind == ResultKind::Number) object["result"] = std::stoul(line.result);
    if (line.text) object["text"] = *line.text;
    Write(object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
}

void Printer::Write(std::string_view bytes) {
    MutexLock lock(mutex);
    while (!bytes.empty() && !readerGone) {
        const ssize_t written = write(output, bytes.data(), bytes.size());
        if (written > 0) {
            bytes.remove_prefix(static_cast<size_t>(written));
        } else if (written < 0 && errno != EINTR) {
            readerGone = true;
        }
    }
}

}  // namespace orrery::agent
