#include "agent/events/plugin_host.h"

#include <algorithm>
#include <exception>

namespace orrery::agent {

std::unique_ptr<PluginHost> PluginHost::Load(const WideString& folder, std::string& problem) {
    auto library = LoadedLibrary::Open(folder, u"Realtime.dll", problem);
    if (!library) return nullptr;
    std::unique_ptr<PluginHost> host(new PluginHost(std::move(library)));
    try {
        if (!host->Bind(problem)) return nullptr;
    } catch (const std::exception& error) {
        problem = std::string("Realtime.dll can't be used: ") + error.what();
        return nullptr;
    }
    return host;
}

PluginHost::~PluginHost() {
    if (plugin) plugin->Release();
    if (container) freePlugin(container);
}

bool PluginHost::Bind(std::string& problem) {
    GetIPluginFunction getPlugin = nullptr;
    if (!library->Find("GetIPlugin", getPlugin, problem)) return false;
    if (!library->Find("FreeIPlugin", freePlugin, problem)) return false;
    container = getPlugin();
    if (!container) {
        problem = "Realtime.dll gives no plug-in";
        return false;
    }
    const char16_t* guid = container->GetPluginGuid();
    const uint32_t result = guid ? container->QueryInterface(guid, &plugin) : 0;
    if (!plugin) {
        problem = "Realtime.dll gives no plug-in interface (error " + std::to_string(result) + ")";
        return false;
    }
    ReadNames();
    return true;
}

void PluginHost::ReadNames() {
    const char16_t* list = plugin->GetEventHandlerString();
    WideView rest = list ? WideView(list) : WideView();
    while (!rest.empty()) {
        const size_t end = std::min(rest.find(u';'), rest.size());
        if (end > 0) names.emplace(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
}

}  // namespace orrery::agent
