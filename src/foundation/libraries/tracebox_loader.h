// One use of the log service library: loaded at construction, given up at destruction. The objects of a
// process share one library and one count. Safe from any thread.
#pragma once

#include "contracts/tracebox.h"

namespace orrery {

class CTraceboxLoader {
  public:
    CTraceboxLoader();
    virtual ~CTraceboxLoader();
    CTraceboxLoader(const CTraceboxLoader&) = delete;
    CTraceboxLoader& operator=(const CTraceboxLoader&) = delete;

    ITracebox* GetInterface();
    void ReleaseInterface(ITracebox** tracebox);
};

}  // namespace orrery
