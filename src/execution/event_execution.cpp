#include "execution/event_execution.h"

#include <algorithm>
#include <limits>

#include "foundation/settings/config_reader.h"
#include "foundation/text/numbers.h"
#include "foundation/trace.h"
#include "platform/clock.h"

namespace orrery {

namespace {

constexpr uint32_t defaultRetryDelay = 1800;  // seconds

bool IsTrue(const WideString& text) {
    return text == u"1" || EqualNoCase(text, u"true");
}

}  // namespace

CEventExecution::CEventExecution(ConfigUtil* configUtil, WideString name)
    : eventName(std::move(name)), configUtil(configUtil) {
    if (configUtil) {
        ReadSettings();
        ReadErrorState();
    }
    lastErrorTime = storedLastErrorTime;
    errorCount = storedErrorCount;
    lastError = storedLastError;
    if (platform::UtcSeconds() >= AllowedFrom()) ClearErrors();  // old errors are forgiven
}

CEventExecution::~CEventExecution() {
    if (configUtil) StoreChanges();
}

WideString CEventExecution::Key(const char16_t* name) const {
    return u"Events." + eventName + u"." + name;
}

// A chain: what is not set ends it, and the later settings keep their defaults.
void CEventExecution::ReadSettings() {
    WideString text;
    if (!ReadWithDefaults(configUtil, u"Events", eventName, u"AllowExecutionsAfter", text)) return;
    allowExecutionsAfter = LeadingUInt32(text);
    if (!ReadWithDefaults(configUtil, u"Events", eventName, u"MaxErrors", text)) return;
    maxErrors = LeadingUInt32(text);
    if (!ReadWithDefaults(configUtil, u"Events", eventName, u"NeedRegister", text)) return;
    needRegister = IsTrue(text);
}

void CEventExecution::ReadErrorState() {
    storedLastErrorTime = ReadStored(u"LastErrorTime");
    storedErrorCount = static_cast<uint32_t>(ReadStored(u"ErrorCount"));
    storedLastError = static_cast<uint32_t>(ReadStored(u"LastError"));
}

// A key without a number has no business being there.
int64_t CEventExecution::ReadStored(const char16_t* name) {
    WideString text;
    if (configUtil->ReadValue(Key(name), text, 0) != 0) return 0;
    const int64_t value = LeadingSigned(text).value_or(0);
    if (value == 0) configUtil->DeleteValue(Key(name));
    return value;
}

uint32_t CEventExecution::Store(const char16_t* name, bool isSet, const WideString& text) {
    return isSet ? configUtil->WriteValue(Key(name), text, 0) : configUtil->DeleteValue(Key(name));
}

void CEventExecution::StoreChanges() {
    if (lastErrorTime != storedLastErrorTime &&
        Store(u"LastErrorTime", lastErrorTime != 0, DecimalText(lastErrorTime)) != 0) {
        return;
    }
    if (errorCount != storedErrorCount &&
        Store(u"ErrorCount", errorCount != 0, DecimalText(uint64_t{errorCount})) != 0) {
        return;
    }
    if (lastError != storedLastError) {
        Store(u"LastError", lastError != 0, DecimalText(int64_t{static_cast<int32_t>(lastError)}));
    }
}

// A stored time at the edge of its type doesn't wrap around.
int64_t CEventExecution::AllowedFrom() const {
    const int64_t latest = std::numeric_limits<int64_t>::max() - allowExecutionsAfter;
    return std::min(lastErrorTime, latest) + allowExecutionsAfter;
}

uint32_t CEventExecution::GetRetryDelay() {
    const Trace::Scope trace("CEventExecution::GetRetryDelay");
    WideString text;
    retryDelay = defaultRetryDelay;
    uint32_t seconds = 0;
    if (configUtil && ReadWithDefaults(configUtil, u"Events", eventName, u"RetryDelay", text) &&
        configUtil->EvaluateInterval(text, seconds) == 0) {
        retryDelay = seconds;
    }
    return retryDelay;
}

uint32_t CEventExecution::GetRemainingSeconds() const {
    const Trace::Scope trace("CEventExecution::GetRemainingSeconds");
    if (lastErrorTime == 0) return 0;
    const int64_t remaining = AllowedFrom() - platform::UtcSeconds();
    return static_cast<uint32_t>(std::clamp<int64_t>(remaining, 0, std::numeric_limits<uint32_t>::max()));
}

void CEventExecution::ClearErrors() {
    lastErrorTime = 0;
    errorCount = 0;
    lastError = 0;
}

void CEventExecution::CountError(uint32_t error) {
    lastErrorTime = platform::UtcSeconds();
    ++errorCount;
    lastError = error;
}

}  // namespace orrery
