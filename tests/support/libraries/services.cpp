// Settings store, dispatch library, log service, transport and module in one: each function gives an object
// of the program that has loaded the library, or of the program that has loaded the module that has.
#include <dlfcn.h>

#include "contracts/config_util.h"
#include "contracts/eventgate.h"
#include "contracts/plugin.h"
#include "contracts/tracebox.h"
#include "contracts/wirelink.h"

namespace {

template <class Service>
Service* Use(const char* name, int change) {
    const auto use = reinterpret_cast<Service* (*)(int)>(::dlsym(RTLD_DEFAULT, name));
    return use ? use(change) : nullptr;
}

}  // namespace

extern "C" {

orrery::ConfigUtil* GetUtil() {
    return Use<orrery::ConfigUtil>("orrery_test_config_util", 1);
}
orrery::IEventgate* GetIEventgate() {
    return Use<orrery::IEventgate>("orrery_test_eventgate", 1);
}
void FreeIEventgate(orrery::IEventgate** eventgate) {
    Use<orrery::IEventgate>("orrery_test_eventgate", -1);
    *eventgate = nullptr;
}
orrery::ITracebox* GetITracebox() {
    return Use<orrery::ITracebox>("orrery_test_tracebox", 1);
}
void FreeITracebox(orrery::ITracebox** tracebox) {
    Use<orrery::ITracebox>("orrery_test_tracebox", -1);
    *tracebox = nullptr;
}
orrery::IWirelink* GetIWirelink() {
    return Use<orrery::IWirelink>("orrery_test_wirelink", 1);
}
void FreeIWirelink(orrery::IWirelink** wirelink) {
    Use<orrery::IWirelink>("orrery_test_wirelink", -1);
    *wirelink = nullptr;
}
orrery::IPluginV1* GetIPlugin() {
    return Use<orrery::IPluginV1>("orrery_test_plugin", 1);
}
void FreeIPlugin(orrery::IPluginV1*) {
    Use<orrery::IPluginV1>("orrery_test_plugin", -1);
}
}
