// The two functions by which the host reaches the module, and what happens when the module comes and goes.
#include "foundation/trace.h"
#include "module/realtime_plugin_container.h"
#include "platform/entry_point.h"

namespace orrery {

namespace {

// Nothing but tracing: the objects of the plug-in are made by GetIPlugin, afresh each time.
const platform::EntryPoint entryPoint(&Trace::Register, &Trace::Unregister);

}  // namespace

}  // namespace orrery

extern "C" {

__attribute__((visibility("default"))) orrery::IPluginV1* GetIPlugin() {
    return orrery::AcquirePlugin();
}

__attribute__((visibility("default"))) void FreeIPlugin(orrery::IPluginV1* plugin) {
    orrery::ReleasePlugin(plugin);
}
}
