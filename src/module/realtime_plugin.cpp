#include "module/realtime_plugin.h"

#include <new>

#include "foundation/trace.h"
#include "module/plugin_objects.h"
#include "platform/error_codes.h"

namespace orrery {

uint32_t CRealtimePlugin::Release() {
    const uint32_t count = --refCount;
    if (count == 0) delete this;
    return count;
}

uint32_t CRealtimePlugin::Start() {
    const Trace::Scope trace("CRealtimePlugin::Start");
    const auto objects = PluginObjects::Current();
    const ContextRef context = objects ? objects->Registry().GetContext() : ContextRef();
    if (!context) return Success;
    const uint32_t result = context->Start();
    if (result != 0) Trace::Error("the context can't be started", result);
    return result;
}

void CRealtimePlugin::Stop() {
    const Trace::Scope trace("CRealtimePlugin::Stop");
    if (const auto objects = PluginObjects::Current()) objects->StopContext();
}

const char16_t* CRealtimePlugin::GetEventHandlerString() {
    const Trace::Scope trace("CRealtimePlugin::GetEventHandlerString");
    const auto objects = PluginObjects::Current();
    try {
        return objects ? objects->Registry().GetEventHandlerString() : u"";
    } catch (const std::bad_alloc&) {
        Trace::Error("there is no memory for the names of the events");
        return u"";
    }
}

// The share that it holds keeps the registry while the event runs, whatever the host frees meanwhile.
uint32_t CRealtimePlugin::ExecuteEvent(const CMessageObject& event) {
    const Trace::Scope trace("CRealtimePlugin::ExecuteEvent");
    WideString name;
    if (!event.GetMessageName(name)) {
        Trace::Error("an event without a name");
        return InvalidParameter;
    }
    const auto objects = PluginObjects::Current();
    if (objects) return objects->Registry().ExecuteEventHandler(name, event);
    Trace::Error("an event after the plug-in was freed", name);
    return InvalidParameter;
}

}  // namespace orrery
