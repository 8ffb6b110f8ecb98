// The one road from a callback to an object that may go meanwhile. The callback holds the cell, shared; the
// object's destructor clears it: from then on no call enters, and those inside have left. Safe from any
// thread; no lock is held while a call runs.
#pragma once

#include <algorithm>
#include <thread>
#include <vector>

#include "platform/mutex.h"

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
        Object* const entered = BeginCall();
        if (!entered) return;
        const Leaver leaver{*this};
        call(*entered);
    }

    // Waits for the calls of other threads that are inside. One of this thread's own may go on: it must not
    // touch the object any more.
    void Clear() EXCLUDES(lock) {
        MutexLock hold(lock);
        object = nullptr;
        while (OthersInsideLocked()) left.wait(lock);
    }

    // Whether the calling thread is inside a call.
    bool CallerIsInside() EXCLUDES(lock) {
        MutexLock hold(lock);
        return std::find(inside.begin(), inside.end(), std::this_thread::get_id()) != inside.end();
    }

  private:
    struct Leaver {
        CallbackCell& cell;
        ~Leaver() { cell.EndCall(); }
    };

    Object* BeginCall() EXCLUDES(lock) {
        MutexLock hold(lock);
        if (object) inside.push_back(std::this_thread::get_id());
        return object;
    }

    void EndCall() EXCLUDES(lock) {
        MutexLock hold(lock);
        inside.erase(std::find(inside.begin(), inside.end(), std::this_thread::get_id()));
        left.notify_all();
    }

    bool OthersInsideLocked() const REQUIRES(lock) {
        const auto self = std::this_thread::get_id();
        return std::any_of(inside.begin(), inside.end(), [self](std::thread::id id) { return id != self; });
    }

    Mutex lock;
    ConditionVariable left;
    Object* object GUARDED_BY(lock);
    std::vector<std::thread::id> inside GUARDED_BY(lock);  // one entry for each call, as calls may nest
};

}  // namespace orrery
