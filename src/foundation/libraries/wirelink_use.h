// Holds the transport for as long as it lives: the library from the Utils folder, and its object. Used by one
// thread at a time.
#pragma once

#include "foundation/libraries/wirelink_loader.h"

namespace orrery {

class CWirelinkUse {
  public:
    // A failure is traced and leaves it without the object.
    CWirelinkUse();
    ~CWirelinkUse();
    CWirelinkUse(const CWirelinkUse&) = delete;
    CWirelinkUse& operator=(const CWirelinkUse&) = delete;

    // Null if the transport can't be had.
    IWirelink* Get() const { return wirelink; }

  private:
    CWirelinkLoader wirelinkLoader;
    IWirelink* wirelink = nullptr;
};

}  // namespace orrery
