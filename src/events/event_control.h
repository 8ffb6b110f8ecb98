// A lock that can exclude in more than one way, and its scoped holder: what keeps one kind of work from
// running twice. Safe from any thread; mode 2 is released by the thread that acquired it.
#pragma once

#include <cstdint>

#include "platform/mutex.h"

namespace orrery {

enum EventControlMode : uint32_t {
    ControlNothing = 1,  // excludes nobody
    ControlWait = 2,     // one holder, the others wait
    ControlRefuse = 4,   // one holder, the others are refused at once
};

class CEventControl {
  public:
    explicit CEventControl(uint32_t mode) : mode(mode) {}

    bool Acquire();
    void Release();

  private:
    Mutex mutex;
    bool locked = false;  // the holder keeps `mutex` locked
    bool busy = false;
    const uint32_t mode;
};

class CAutoEventControl {
  public:
    explicit CAutoEventControl(CEventControl& control) : control(&control) {}
    virtual ~CAutoEventControl() {
        if (acquired) control->Release();
    }
    CAutoEventControl(const CAutoEventControl&) = delete;
    CAutoEventControl& operator=(const CAutoEventControl&) = delete;

    CEventControl* const control;
    bool acquired = false;  // set by the owner from Acquire
};

}  // namespace orrery
