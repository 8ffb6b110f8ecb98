#include "agent/command_line/control_commands.h"

#include <cstdio>
#include <nlohmann/json.hpp>

#include "agent/control/control_client.h"
#include "agent/events/event_document.h"
#include "agent/status/status_report.h"
#include "agent/status/status_text.h"
#include "agent/text/complaint.h"
#include "agent/text/utc_text.h"

namespace orrery::agent {

int ShowStatus(const AgentHome& home, ISettingsListing& listing, bool json) {
    std::vector<std::pair<WideString, WideString>> settings;
    const uint32_t result = listing.List(u"", settings);
    if (result != 0) return Complain("can't read the settings (error " + std::to_string(result) + ")");
    std::optional<AgentObservation> observation;
    std::string answer;
    std::string problem;
    if (AskAgent(home.Folder(), "status\n", answer, problem)) {
        observation.emplace();
        if (!ReadObservation(answer, *observation))
            return Complain("the agent gives no status that can be read");
    }
    const auto report =
        StatusReport(SettingsMap(settings.begin(), settings.end()), observation, NowMilliseconds());
    const std::string text = json ? report.dump(2) + "\n" : StatusText(report);
    std::fputs(text.c_str(), stdout);
    return 0;
}

int SendEvent(const AgentHome& home, const std::string& event) {
    CMessageObject document;
    std::string answer;
    std::string problem;
    if (!ParseEvent(event, document, problem)) return Complain(problem);
    if (!AskAgent(home.Folder(), "event\n" + event, answer, problem)) return Complain(problem);
    const auto object = nlohmann::json::parse(answer, nullptr, false);
    if (!object.is_object() || !object.contains("result")) {
        return Complain(object.is_object() ? object.value("error", answer) : answer);
    }
    const auto& result = object["result"];
    std::printf("%s\n", result.is_string() ? result.get<std::string>().c_str() : result.dump().c_str());
    return result == 0 ? 0 : 1;
}

}  // namespace orrery::agent
