// The one road from a callback to an object that may go meanwhile. The callback holds the cell, shared; the
// object's destructor clears it: from then on no call enters, and those inside have left. Safe from any
// thread; no lock is held while a call runs.
#pragma once

#include "platform/call_gate.h"

namespace orrery {

template <class Object>
class CallbackCell {
  public:
    explicit CallbackCell(Object* object) : object(object) {}
    CallbackCell(const CallbackCell&) = delete;
    CallbackCell& operator=(const CallbackCell&) = delete;

    // Calls `call(object)`, unless the cell is cleared.
    template <class Call>
    void Enter(Call&& call) {
        if (const CallGate::Visit visit = gate.Enter()) call(*object);
    }

    // Waits for the calls of other threads that are inside. One of this thread's own may go on: it must not
    // touch the object any more.
    void Clear() { gate.Close(); }

  private:
    Object* const object;
    CallGate gate;
};

}  // namespace orrery
