#include "agent/status/status_text.h"

#include <nlohmann/json.hpp>

#include "agent/text/printable.h"

namespace orrery::agent {

using Json = nlohmann::ordered_json;

namespace {

std::string Word(const Json& value) {
    if (value.is_null()) return "unknown";
    return value.is_string() ? Printable(value.get<std::string>()) : value.dump();
}

std::string Line(const char* title, const std::string& words) {
    std::string line(title);
    line.resize(14, ' ');
    return line + words + "\n";
}

std::string Range(const Json& range, const char* from, const char* to) {
    return range.is_null() ? "unknown" : "between " + Word(range[from]) + " and " + Word(range[to]);
}

std::string ChannelText(const Json& channel) {
    std::string state = Word(channel["state"]);
    if (!channel["connectedSince"].is_null()) state += " since " + Word(channel["connectedSince"]);
    std::string text = Line("channel", state);
    text += Line("server", channel["server"].is_null() ? "not set" : Word(channel["server"]));
    if (channel["state"] == "not running" || channel["state"] == "disabled") return text;
    text += Line("last connect", Word(channel["lastConnect"]));
    text += Line("retries", Word(channel["retries"]));
    text += Line("last loss", Range(channel["lastLoss"], "after", "before"));
    if (channel["state"] != "connected")
        text += Line("next attempt", Range(channel["nextAttempt"], "from", "to"));
    return text;
}

std::string ProviderText(const Json& report) {
    std::string text = Word(report["provider"]);
    if (report["provider"] == "DMP") text += ", polled";
    if (!report["recipient"].is_null()) text += ", last told to the server for " + Word(report["recipient"]);
    return text;
}

std::string PollText(const Json& poll) {
    std::string text = poll["next"].is_null() ? "not scheduled" : "next " + Word(poll["next"]);
    if (!poll["every"].is_null()) text += ", every " + Word(poll["every"]) + " s";
    if (!poll["entityTag"].is_null()) text += ", entity tag " + Word(poll["entityTag"]);
    return text;
}

std::string ProxyText(const Json& proxy) {
    if (proxy.contains("used")) return "last used: " + Word(proxy["used"]);
    return "configured: " + Word(proxy["configured"]);
}

std::string TasksText(const Json& tasks) {
    std::string text = Line("tasks", tasks.empty() ? "none" : std::to_string(tasks.size()));
    for (const Json& task : tasks) {
        std::string words = Word(task["id"]) + ": next " + Word(task["next"]);
        if (!task["every"].is_null()) words += ", every " + Word(task["every"]) + " s";
        if (task["enabled"] == false) words += ", disabled";
        for (const Json& event : task["events"]) words += " " + Word(event);
        text += "  " + words + "\n";
    }
    return text;
}

std::string ThrottledText(const Json& throttled) {
    std::string text = Line("throttled", throttled.empty() ? "none" : std::to_string(throttled.size()));
    for (const Json& event : throttled) {
        text += "  " + Word(event["event"]) + ": " + Word(event["errors"]) + " errors of " +
                Word(event["maximum"]) + ", until " + Word(event["until"]) + "\n";
    }
    return text;
}

}  // namespace

std::string StatusText(const Json& report) {
    std::string text = report["running"] == true
                           ? Line("agent", "running, process " + Word(report["processId"]) + ", since " +
                                               Word(report["startedAt"]))
                           : Line("agent", "not running");
    text += Line("device", report["device"].is_null() ? "not registered" : Word(report["device"]));
    text += Line("site", report["site"].is_null() ? "none" : Word(report["site"]));
    text += ChannelText(report["channel"]);
    text += Line("provider", ProviderText(report));
    text += Line("polls", PollText(report["poll"]));
    text += Line("proxy", ProxyText(report["proxy"]));
    return text + TasksText(report["tasks"]) + ThrottledText(report["throttled"]);
}

}  // namespace orrery::agent
