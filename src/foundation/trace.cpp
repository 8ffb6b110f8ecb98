#include "foundation/trace.h"

#include <string_view>

#include "platform/text.h"
#include "platform/tracing.h"

namespace orrery {

void Trace::Register() {
    platform::RegisterTraceProvider(&Trace::OnEnable);
}

void Trace::Unregister() {
    platform::UnregisterTraceProvider();
}

void Trace::OnEnable(uint8_t level, uint32_t flags) {
    session.store(static_cast<uint64_t>(level) << 32 | flags, std::memory_order_relaxed);
}

void Trace::Append(std::string& record, const char* text) {
    record += ' ';
    record += text ? text : "NULL";
}

void Trace::Append(std::string& record, const std::string& text) {
    Append(record, text.c_str());
}

void Trace::Append(std::string& record, const char16_t* text) {
    record += ' ';
    if (!text) {
        record += "NULL";
    } else {
        record += *text ? ToUtf8(text) : "<NULL>";
    }
}

void Trace::Append(std::string& record, const WideString& text) {
    Append(record, text.c_str());
}

void Trace::WriteRecord(Level level, const Message& message, const std::string& record) {
    const std::string_view file = message.file;
    platform::WriteTraceRecord(file.substr(file.rfind('/') + 1), message.line, level, record);
}

}  // namespace orrery
