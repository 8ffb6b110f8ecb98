#include "module/realtime_plugin.h"

#include "execution/plugin_event_handlers.h"
#include "foundation/trace.h"
#include "platform/error_codes.h"

namespace orrery {

void StopContext(CPluginEventHandlers& eventHandlers) {
    IPluginContext* context = eventHandlers.TakeContext();
    if (!context) return;
    context->Stop();
    context->Release();
}

uint32_t CRealtimePlugin::Release() {
    const uint32_t count = --refCount;
    if (count == 0) delete this;
    return count;
}

uint32_t CRealtimePlugin::Start() {
    IPluginContext* context = eventHandlers.AcquireContext();
    if (!context) return Success;
    const uint32_t result = context->Start();
    context->Release();
    if (result != 0) Trace::Error("the context can't be started", result);
    return result;
}

void CRealtimePlugin::Stop() {
    StopContext(eventHandlers);
}

const char16_t* CRealtimePlugin::GetEventHandlerString() {
    return eventHandlers.GetEventHandlerString();
}

uint32_t CRealtimePlugin::ExecuteEvent(const CMessageObject& event) {
    WideString name;
    if (!event.GetMessageName(name)) {
        Trace::Error("an event without a name");
        return InvalidParameter;
    }
    return eventHandlers.ExecuteEventHandler(name, event);
}

}  // namespace orrery
