// The library's two exports.
#include "contracts/eventgate.h"
#include "standins/counted_object.h"
#include "standins/eventgate/eventgate.h"

namespace orrery::eventgate {
namespace {

standins::CountedObject<Eventgate> counted;

}  // namespace

extern "C" __attribute__((visibility("default"))) IEventgate* GetIEventgate() {
    return counted.Acquire([] { return std::make_unique<Eventgate>(); });
}

extern "C" __attribute__((visibility("default"))) void FreeIEventgate(IEventgate** pointer) {
    counted.Release(pointer);
}

}  // namespace orrery::eventgate
