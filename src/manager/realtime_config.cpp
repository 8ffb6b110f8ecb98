#include "manager/realtime_config.h"

#include <algorithm>
#include <limits>

#include "foundation/text/numbers.h"
#include "foundation/trace.h"

namespace orrery {

namespace {

// True if the store holds a number. What it holds instead of one counts as not there.
template <class Number>
bool ReadNumber(ConfigUtil& config, const char16_t* key, Number& out, Number defaultValue) {
    WideString text;
    out = defaultValue;
    if (config.ReadValue(key, text, 0) != 0 || text.empty()) return false;
    const auto number = LeadingUnsigned(text);
    if (!number || *number > std::numeric_limits<Number>::max()) {
        Trace::Error("a setting is no number", key, text);
        return false;
    }
    out = static_cast<Number>(*number);
    return true;
}

// On unless the store says otherwise.
bool ReadSwitch(ConfigUtil& config, const char16_t* key) {
    WideString text;
    return config.ReadValue(key, text, 0) != 0 || text != u"0";
}

void ReadInterval(ConfigUtil& config, const char16_t* key, WideString& interval,
                  const char16_t* defaultText) {
    WideString text;
    if (config.ReadValue(key, text, 0) == 0) interval = text;
    if (interval.empty()) interval = defaultText;
}

void ReadBehaviour(ConfigUtil& config, uint32_t& behaviour) {
    uint32_t value = 0;
    if (!ReadNumber(config, u"Realtime.Manager.BehaviourOnLostConnection", value, 0U)) return;
    behaviour = value > 1 ? 0 : value;
}

}  // namespace

void RealtimeConfig::Read(ConfigUtil& config) {
    enabled = ReadSwitch(config, u"Realtime.Notifications.Enabled");
    checkOs = ReadSwitch(config, u"Realtime.Notifications.CheckOS");
    ReadNumber(config, u"Realtime.Manager.CheckInterval", checkInterval, 15U);
    checkInterval = std::max(checkInterval, 1U);
    ReadNumber(config, u"Realtime.Manager.MaxConnectionRetries", retry.maxConnectionRetries, 2U);
    ReadNumber(config, u"Realtime.Manager.SuccesfulTimeAlive", retry.successfulTimeAlive, uint64_t{15});
    ReadInterval(config, u"Realtime.Manager.CannotConnectRetriesInterval", retry.cannotConnectRetriesInterval,
                 u"rand(60,300)");
    ReadInterval(config, u"Realtime.Manager.LostConnectionRetriesInterval",
                 retry.lostConnectionRetriesInterval, u"rand(5,15)");
    ReadNumber(config, u"Realtime.Manager.RetriesWait", retry.retriesWait, uint64_t{1800});
    ReadBehaviour(config, retry.behaviourOnLostConnection);
}

WideString ReadCommandHubUri(ConfigUtil& config) {
    WideString scheme;
    WideString hostname;
    WideString path;
    if (config.ReadValue(u"Communications.Method_CommandHub.Scheme", scheme, 0) != 0 ||
        config.ReadValue(u"Communications.Method_CommandHub.Hostname", hostname, 0) != 0 ||
        config.ReadValue(u"Communications.Method_CommandHub.Path", path, 0) != 0) {
        return {};
    }
    return scheme + u"://" + hostname + path;
}

}  // namespace orrery
