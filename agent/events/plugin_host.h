// The module as the host holds it: loaded, asked for its plug-in and its event names, and given back in the
// order that its contract asks for. It decides nothing about when an event runs.
//
// Execute may be called from any thread between construction and Stop; everything else from the main thread.
#pragma once

#include <memory>
#include <set>
#include <string>

#include "agent/system/loaded_library.h"
#include "contracts/plugin.h"

namespace orrery::agent {

class PluginHost {
  public:
    // Loads Realtime.dll from `folder`. Null on failure, and `problem` says why.
    static std::unique_ptr<PluginHost> Load(const WideString& folder, std::string& problem);
    // No execution is running any more.
    ~PluginHost();
    PluginHost(const PluginHost&) = delete;
    PluginHost& operator=(const PluginHost&) = delete;

    uint32_t Start() { return plugin->Start(); }
    void Stop() { plugin->Stop(); }
    // Whether the module asked for events of this name.
    bool Handles(const WideString& eventName) const { return names.contains(eventName); }
    // The module's code. What it throws goes through.
    uint32_t Execute(const CMessageObject& event) { return plugin->ExecuteEvent(event); }

  private:
    explicit PluginHost(std::unique_ptr<LoadedLibrary> library) : library(std::move(library)) {}
    bool Bind(std::string& problem);
    void ReadNames();

    const std::unique_ptr<LoadedLibrary> library;
    FreeIPluginFunction freePlugin = nullptr;
    IPluginV1* container = nullptr;
    IPluginInterface* plugin = nullptr;
    std::set<WideString> names;
};

}  // namespace orrery::agent
