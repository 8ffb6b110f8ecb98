// The module's use of the log service, which it can do without: what can't be had is traced and left out.
// Made and ended by the thread that makes and ends its owner; the log itself is safe from any thread.
#pragma once

#include <memory>

#include "contracts/tracebox.h"
#include "foundation/libraries/tracebox_loader.h"

namespace orrery {

class LogService {
  public:
    LogService();
    ~LogService();
    LogService(const LogService&) = delete;
    LogService& operator=(const LogService&) = delete;

    // Null if there is none.
    ITracebox* Get() const { return tracebox; }

  private:
    std::unique_ptr<CTraceboxLoader> loader;
    ITracebox* tracebox = nullptr;
};

}  // namespace orrery
