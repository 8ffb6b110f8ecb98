#include "module/realtime_plugin_container.h"

#include <memory>
#include <new>

#include "foundation/trace.h"
#include "module/plugin_objects.h"
#include "module/realtime_plugin.h"
#include "platform/error_codes.h"
#include "platform/mutex.h"

namespace orrery {

namespace {

constexpr char16_t pluginGuid[] = u"9ca356ef-b66e-421e-b61a-d6310c668b66";

Mutex moduleMutex;
// Raw, so that it is there until the process's very end.
CRealtimePluginContainer* container GUARDED_BY(moduleMutex) = nullptr;
uint32_t containerRefs GUARDED_BY(moduleMutex) = 0;

bool Create() REQUIRES(moduleMutex) {
    auto objects = PluginObjects::Make();
    if (!objects) return false;
    container = new (std::nothrow) CRealtimePluginContainer;
    if (container) PluginObjects::Publish(std::move(objects));
    return container != nullptr;
}

}  // namespace

const char16_t* CRealtimePluginContainer::GetPluginGuid() {
    return pluginGuid;
}

uint32_t CRealtimePluginContainer::QueryInterface(const WideString& guid, IPluginInterface** out) {
    const Trace::Scope trace("CRealtimePluginContainer::QueryInterface");
    if (!out || guid.empty()) return InvalidParameter;
    if (guid != pluginGuid) return NotFound;
    *out = new (std::nothrow) CRealtimePlugin;
    return Success;
}

IPluginV1* AcquirePlugin() {
    MutexLock hold(moduleMutex);
    if (containerRefs == 0 && !Create()) {
        Trace::Error("there is no memory for the plug-in");
        return nullptr;
    }
    ++containerRefs;
    return container;
}

void ReleasePlugin(IPluginV1* plugin) {
    if (!plugin) {
        Trace::Error("there is no plug-in to free");
        return;
    }
    MutexLock hold(moduleMutex);
    if (plugin != container) return;
    if (--containerRefs > 0) return;
    delete container;
    container = nullptr;
    PluginObjects::Withdraw()->StopContext();  // the host may have left that out
}

}  // namespace orrery
