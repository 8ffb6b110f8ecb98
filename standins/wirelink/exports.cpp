// The library's two exports.
#include "contracts/wirelink.h"
#include "standins/counted_object.h"
#include "standins/wirelink/wirelink.h"

namespace orrery::wirelink {
namespace {

standins::CountedObject<Wirelink> counted;

}  // namespace

extern "C" __attribute__((visibility("default"))) IWirelink* GetIWirelink() {
    return counted.Acquire([] { return std::make_unique<Wirelink>(); });
}

extern "C" __attribute__((visibility("default"))) void FreeIWirelink(IWirelink** pointer) {
    counted.Release(pointer);
}

}  // namespace orrery::wirelink
