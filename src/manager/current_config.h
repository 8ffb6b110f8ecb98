// The settings of the realtime manager as they were last read, for many threads. It decides nothing, and
// never reads by itself.
//
// Threads: any.
#pragma once

#include "manager/realtime_config.h"
#include "platform/mutex.h"

namespace orrery {

class CurrentConfig {
  public:
    // `store` outlives it.
    explicit CurrentConfig(ConfigUtil& store) : store(store) {}

    // True if that changed `enabled`.
    bool Refresh() EXCLUDES(readLock, configLock);
    RealtimeConfig Get() const EXCLUDES(configLock);

  private:
    ConfigUtil& store;
    Mutex readLock;            // one reading at a time, so that the last one read is the one kept
    mutable Mutex configLock;  // a leaf
    RealtimeConfig realtimeConfig GUARDED_BY(configLock);
};

}  // namespace orrery
