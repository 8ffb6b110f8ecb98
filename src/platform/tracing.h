// The platform's event tracing: one provider, one session that may enable it.
//
// On Linux the session is named by ORRERY_TRACE=level,flags,path: records are appended to that file, one
// line each. Without it nothing listens.
#pragma once

#include <cstdint>
#include <string_view>

namespace orrery::platform {

// Called when a session comes (level and flags) and when it goes (both 0).
using TraceEnableCallback = void (*)(uint8_t level, uint32_t flags);

void RegisterTraceProvider(TraceEnableCallback callback);
void UnregisterTraceProvider();
// `source` and `id` name the message; `payload` is UTF-8. Safe from any thread.
void WriteTraceRecord(std::string_view source, uint32_t id, uint8_t level, std::string_view payload);

}  // namespace orrery::platform
