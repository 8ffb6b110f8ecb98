#include "events/event_control.h"

namespace orrery {

// In ControlWait the mutex stays locked past the return, which the analysis can't follow.
bool CEventControl::Acquire() NO_THREAD_SAFETY_ANALYSIS {
    if (mode == ControlNothing) return true;
    if (mode != ControlWait && mode != ControlRefuse) return false;
    mutex.lock();
    if (mode == ControlWait) {
        locked = true;
        busy = true;
        return true;
    }
    const bool free = !busy;
    busy = true;
    mutex.unlock();
    return free;
}

void CEventControl::Release() NO_THREAD_SAFETY_ANALYSIS {
    if (mode == ControlNothing) return;
    if (!locked) mutex.lock();
    locked = false;
    busy = false;
    mutex.unlock();
}

}  // namespace orrery
