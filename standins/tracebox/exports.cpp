// The library's two exports.
#include <cstdlib>
#include <string>
#include <string_view>

#include "contracts/tracebox.h"
#include "foundation/system/install_paths.h"
#include "platform/files.h"
#include "standins/counted_object.h"
#include "standins/tracebox/tracebox.h"

namespace orrery::tracebox {
namespace {

standins::CountedObject<Tracebox> counted;

std::string LogFile() {
    WideString folder;
    if (!GetDataFolder(folder)) return {};
    return platform::NativePath(folder + u"agent.log");
}

bool ConsoleWanted() {
    const char* value = std::getenv("ORRERY_LOG_CONSOLE");
    return value && *value && std::string_view(value) != "0";
}

}  // namespace

extern "C" __attribute__((visibility("default"))) ITracebox* GetITracebox() {
    return counted.Acquire([] { return std::make_unique<Tracebox>(LogFile(), ConsoleWanted()); });
}

extern "C" __attribute__((visibility("default"))) void FreeITracebox(ITracebox** pointer) {
    counted.Release(pointer);
}

}  // namespace orrery::tracebox
