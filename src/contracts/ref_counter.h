// Reference counting of the objects that cross between host and module. Both operations are safe from any
// thread; at a count of 0 the object deletes itself.
#pragma once

#include <cstdint>

namespace orrery {

class IRefCounter {
  public:
    virtual ~IRefCounter() = default;
    // One more reference, for a caller that holds one itself. Gives the new count.
    virtual uint32_t AddRef() = 0;
    // Gives the caller's reference up, and the new count. At 0 the object is gone, on this thread, with all
    // that its end waits for.
    virtual uint32_t Release() = 0;
};

}  // namespace orrery
