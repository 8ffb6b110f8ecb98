#include "agent/status/status_report.h"

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>

#include "agent/install/install_plan.h"
#include "agent/schedule/schedule_task.h"
#include "agent/settings/sealed_list.h"
#include "agent/status/channel_view.h"
#include "agent/text/redaction.h"
#include "foundation/json/message_object.h"

namespace orrery::agent {

using Json = nlohmann::ordered_json;

namespace {

std::string Value(const SettingsMap& settings, const WideString& key) {
    const auto found = settings.find(key);
    return found == settings.end() ? std::string() : ToUtf8(found->second);
}

// Of seconds and counts: so that no sum of them, in milliseconds, leaves 64 bits.
int64_t NumberOr(const std::string& text, int64_t fallback) {
    constexpr int64_t most = 1'000'000'000'000;
    int64_t number = fallback;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return std::clamp(number, -most, most);
}

Json TextOrNull(const std::string& text) {
    return text.empty() ? Json() : Json(text);
}

Json TimeOrNull(const std::optional<int64_t>& time) {
    return time ? Json(UtcText(*time)) : Json();
}

Json RangeOrNull(const std::optional<std::pair<int64_t, int64_t>>& range, const char* from, const char* to) {
    return range ? Json{{from, UtcText(range->first)}, {to, UtcText(range->second)}} : Json();
}

std::string ServerOf(const SettingsMap& settings) {
    const std::string scheme = Value(settings, u"Communications.Method_CommandHub.Scheme");
    const std::string host = Value(settings, u"Communications.Method_CommandHub.Hostname");
    const std::string path = Value(settings, u"Communications.Method_CommandHub.Path");
    return scheme.empty() || host.empty() || path.empty() ? std::string() : scheme + "://" + host + path;
}

ChannelFacts FactsOf(const SettingsMap& settings, const AgentObservation& observation) {
    ChannelFacts facts{.up = observation.up, .notes = observation.notes};
    facts.enabled = Value(settings, u"Realtime.Notifications.Enabled") != "0";
    facts.configured = !ServerOf(settings).empty() && !Value(settings, u"Register.Register.DeviceId").empty();
    facts.checkInterval = NumberOr(Value(settings, u"Realtime.Manager.CheckInterval"), facts.checkInterval);
    facts.successfulTimeAlive =
        NumberOr(Value(settings, u"Realtime.Manager.SuccesfulTimeAlive"), facts.successfulTimeAlive);
    facts.retriesWait = NumberOr(Value(settings, u"Realtime.Manager.RetriesWait"), facts.retriesWait);
    return facts;
}

Json StateText(ChannelState state) {
    switch (state) {
        case ChannelState::Disabled:
            return "disabled";
        case ChannelState::NotConfigured:
            return "not configured";
        case ChannelState::Connecting:
            return "connecting";
        case ChannelState::Connected:
            return "connected";
        case ChannelState::Lost:
            return "lost";
        case ChannelState::Unknown:
            break;
    }
    return nullptr;
}

Json RetriesOf(RetryState retries) {
    if (retries == RetryState::AtMaximum) return "at maximum";
    return retries == RetryState::None ? Json("none") : Json();
}

Json ChannelOf(const SettingsMap& settings, const std::optional<AgentObservation>& observation, int64_t now) {
    Json channel{{"state", "not running"},    {"server", TextOrNull(WithoutUsers(ServerOf(settings)))},
                 {"connectedSince", nullptr}, {"lastConnect", nullptr},
                 {"retries", nullptr},        {"lastLoss", nullptr},
                 {"nextAttempt", nullptr}};
    if (!observation) return channel;
    const ChannelView view = ViewChannel(FactsOf(settings, *observation), now);
    channel["state"] = StateText(view.state);
    channel["connectedSince"] = TimeOrNull(view.connectedSince);
    channel["lastConnect"] = TimeOrNull(observation->notes.lastConnect);
    channel["retries"] = RetriesOf(view.retries);
    channel["lastLoss"] = RangeOrNull(view.lastLoss, "after", "before");
    channel["nextAttempt"] = RangeOrNull(view.nextAttempt, "from", "to");
    return channel;
}

// A setting that holds a document; without members if it holds none. Read by the module's model, as the store
// may hold anything: it takes any size, and no depth that would be too much.
CMessageObject DocumentOf(const SettingsMap& settings, const WideString& key) {
    CMessageObject document;
    const auto found = settings.find(key);
    if (found != settings.end()) document.Parse(found->second);
    return document;
}

std::string TextOf(const CMessageObject& document, const char16_t* name) {
    WideString text;
    return document.GetString(name, text) ? ToUtf8(text) : std::string();
}

// Of the last bind that the server took.
CMessageObject BindOf(const SettingsMap& settings) {
    return DocumentOf(settings, u"Realtime.DeviceBind.LastInfoSent");
}

Json ProviderOf(const SettingsMap& settings) {
    int32_t provider = 0;
    BindOf(settings).GetInt(u"NotificationProvider", provider);
    if (provider == 6) return "CommandHub";
    return provider == 2 ? Json("DMP") : Json("none");
}

Json RecipientOf(const SettingsMap& settings) {
    return TextOrNull(TextOf(BindOf(settings), u"RecipientId"));
}

Json PollOf(const SettingsMap& settings) {
    Json poll{{"every", nullptr},
              {"next", nullptr},
              {"entityTag", TextOrNull(Value(settings, u"Services.Service_NotificationCheck.ETag"))}};
    ScheduleTask task;
    const auto stored = settings.find(pollTaskKey);
    if (stored == settings.end() || !ReadStoredTask(stored->second, task) || !task.enabled) return poll;
    if (task.every > 0) poll["every"] = task.every / 1000;
    poll["next"] = UtcText(task.next);
    return poll;
}

std::string UsedProxy(const CMessageObject& used) {
    int32_t mode = 0;
    used.GetInt(u"Mode", mode);
    if (mode == 1) return WithoutUsers(TextOf(used, u"ProxyList"));
    return mode == 2 ? "auto-configuration " + HideSecrets(TextOf(used, u"WPADUrl")) : "direct";
}

Json ProxyOf(const SettingsMap& settings) {
    const CMessageObject used = DocumentOf(settings, u"Proxy.Default.LastProxyConfigUsed");
    if (!used.items.empty()) return {{"used", UsedProxy(used)}};
    const std::string text = Value(settings, u"Proxy.Default.FallbackList");
    if (text.empty()) return {{"configured", 0}};
    std::string plain;
    std::string problem;
    OpenList(text, plain, problem);
    CMessageObject list;
    const CMessageObject* proxies = nullptr;
    const bool readable = list.Parse(plain) && list.GetArray(u"ProxyConfig", proxies);
    return {{"configured", readable ? Json(proxies->items.size()) : Json()}};
}

Json TaskOf(const WideString& id, const WideString& text) {
    ScheduleTask task;
    Json entry{{"id", ToUtf8(id)},
               {"next", nullptr},
               {"every", nullptr},
               {"events", Json::array()},
               {"enabled", nullptr}};
    if (!ReadStoredTask(text, task)) return entry;
    entry["next"] = UtcText(task.next);
    if (task.every > 0) entry["every"] = task.every / 1000;
    for (const CMessageObject& event : TaskEvents(task))
        entry["events"].push_back(ToUtf8(event.items.front().name));
    entry["enabled"] = task.enabled;
    return entry;
}

Json TasksOf(const SettingsMap& settings) {
    Json tasks = Json::array();
    for (const auto& [key, text] : settings) {
        if (key.starts_with(taskKeyPrefix)) tasks.push_back(TaskOf(key.substr(taskKeyPrefix.size()), text));
    }
    return tasks;
}

// The event's own value, else the one for all events; an empty one counts as not set.
std::string EventSetting(const SettingsMap& settings, const WideString& event, const WideString& name) {
    const std::string own = Value(settings, u"Events." + event + u"." + name);
    return own.empty() ? Value(settings, u"Events.Defaults." + name) : own;
}

// By the rule of the executions: no limit counts unless AllowExecutionsAfter is set.
std::optional<Json> Throttled(const SettingsMap& settings, const WideString& event, int64_t now) {
    const std::string allowAfter = EventSetting(settings, event, u"AllowExecutionsAfter");
    const int64_t most = NumberOr(EventSetting(settings, event, u"MaxErrors"), 0);
    const int64_t count = NumberOr(Value(settings, u"Events." + event + u".ErrorCount"), 0);
    const int64_t last = NumberOr(Value(settings, u"Events." + event + u".LastErrorTime"), 0);
    const int64_t until = (last + NumberOr(allowAfter, 0)) * 1000;
    if (allowAfter.empty() || most == 0 || count <= most || now >= until) return std::nullopt;
    return Json{{"event", ToUtf8(event)}, {"errors", count}, {"maximum", most}, {"until", UtcText(until)}};
}

Json ThrottledOf(const SettingsMap& settings, int64_t now) {
    constexpr WideView section = u"Events.";
    constexpr WideView name = u".ErrorCount";
    Json throttled = Json::array();
    for (const auto& [key, text] : settings) {
        if (!key.starts_with(section) || !key.ends_with(name) || key.size() <= section.size() + name.size())
            continue;
        const WideString event = key.substr(section.size(), key.size() - section.size() - name.size());
        if (auto entry = Throttled(settings, event, now)) throttled.push_back(std::move(*entry));
    }
    return throttled;
}

template <class T>
Json OrNull(const std::optional<T>& value) {
    return value ? Json(*value) : Json();
}

template <class T>
void ReadOptional(const Json& object, const char* key, std::optional<T>& value) {
    if (object.contains(key) && !object[key].is_null()) value = object[key].get<T>();
}

}  // namespace

std::string ObservationText(const AgentObservation& observation) {
    const ChannelNotes& notes = observation.notes;
    return Json{{"processId", observation.processId},   {"startedAt", observation.startedAt},
                {"up", OrNull(observation.up)},         {"lastConnect", OrNull(notes.lastConnect)},
                {"lastUp", OrNull(notes.lastUp)},       {"retriesUsedUp", OrNull(notes.retriesUsedUp)},
                {"lossAfter", OrNull(notes.lossAfter)}, {"lossBefore", OrNull(notes.lossBefore)},
                {"switchedOff", notes.switchedOff}}
        .dump();
}

bool ReadObservation(const std::string& text, AgentObservation& observation) {
    try {
        const Json object = Json::parse(text);
        observation.processId = object.at("processId").get<int64_t>();
        observation.startedAt = object.at("startedAt").get<int64_t>();
        ReadOptional(object, "up", observation.up);
        ReadOptional(object, "lastConnect", observation.notes.lastConnect);
        ReadOptional(object, "lastUp", observation.notes.lastUp);
        ReadOptional(object, "retriesUsedUp", observation.notes.retriesUsedUp);
        ReadOptional(object, "lossAfter", observation.notes.lossAfter);
        ReadOptional(object, "lossBefore", observation.notes.lossBefore);
        observation.notes.switchedOff = object.at("switchedOff").get<bool>();
        return true;
    } catch (const Json::exception&) {
        return false;
    }
}

Json StatusReport(const SettingsMap& settings, const std::optional<AgentObservation>& observation,
                  int64_t now) {
    return {{"running", observation.has_value()},
            {"processId", observation ? Json(observation->processId) : Json()},
            {"startedAt", observation ? Json(UtcText(observation->startedAt)) : Json()},
            {"device", TextOrNull(Value(settings, u"Register.Register.DeviceId"))},
            {"site", TextOrNull(Value(settings, u"Register.Register.SiteId"))},
            {"channel", ChannelOf(settings, observation, now)},
            {"provider", ProviderOf(settings)},
            {"recipient", RecipientOf(settings)},
            {"poll", PollOf(settings)},
            {"proxy", ProxyOf(settings)},
            {"tasks", TasksOf(settings)},
            {"throttled", ThrottledOf(settings, now)}};
}

}  // namespace orrery::agent
