// Reference counting of the objects that cross between host and module. Both operations are safe from any
// thread; at a count of 0 the object deletes itself.
#pragma once

#include <cstdint>

namespace orrery {

class IRefCounter {
  public:
    virtual ~IRefCounter() = default;
    // Both give the new count.
    virtual uint32_t AddRef() = 0;
    virtual uint32_t Release() = 0;
};

}  // namespace orrery
