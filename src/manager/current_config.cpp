#include "manager/current_config.h"

namespace orrery {

bool CurrentConfig::Refresh() {
    MutexLock reading(readLock);
    RealtimeConfig fresh = Get();
    const bool before = fresh.enabled;
    fresh.Read(store);
    MutexLock hold(configLock);
    realtimeConfig = fresh;
    return fresh.enabled != before;
}

RealtimeConfig CurrentConfig::Get() const {
    MutexLock hold(configLock);
    return realtimeConfig;
}

}  // namespace orrery
