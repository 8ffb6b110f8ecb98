#include "agent/home/agent_home.h"

#include <cstdlib>
#include <filesystem>

#include "platform/files.h"

namespace orrery::agent {

namespace {

std::string DefaultFolder() {
    const char* named = std::getenv("ORRERY_HOME");
    return named && *named ? named : "/var/lib/orrery-agent";
}

std::string Absolute(const std::string& folder) {
    std::error_code error;
    const auto path = std::filesystem::absolute(folder, error).lexically_normal();
    std::string text = error ? folder : path.string();
    if (text.size() > 1 && text.back() == '/') text.pop_back();
    return text;
}

}  // namespace

AgentHome::AgentHome(const std::string& folder)
    : folder(Absolute(folder.empty() ? DefaultFolder() : folder)) {}

WideString AgentHome::WideAgentFolder() const {
    return platform::WidePath(AgentFolder() + "/");
}

WideString AgentHome::WideUtilsFolder() const {
    return platform::WidePath(UtilsFolder() + "/");
}

bool AgentHome::IsInstalled() const {
    std::error_code error;
    return std::filesystem::exists(RegistryFile(), error) &&
           std::filesystem::is_directory(UtilsFolder(), error);
}

void AgentHome::Enter() const {
    setenv("ORRERY_REGISTRY", RegistryFile().c_str(), 1);
    setenv("ORRERY_DATA", DataFolder().c_str(), 1);
}

}  // namespace orrery::agent
