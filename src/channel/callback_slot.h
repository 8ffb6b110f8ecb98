// A callback that one thread may replace while others call it. A call under way goes on with the function
// that it began with, even if that destroys the slot's owner. Safe from any thread; no lock is held while it
// runs.
#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "platform/mutex.h"

namespace orrery {

template <class Signature>
class CallbackSlot {
  public:
    // An empty function clears it.
    void Set(std::function<Signature> replacement) EXCLUDES(lock) {
        auto fresh = std::make_shared<const std::function<Signature>>(std::move(replacement));
        MutexLock hold(lock);
        function.swap(fresh);
    }

    // Does nothing if it is empty.
    template <class... Arguments>
    void Call(const Arguments&... arguments) EXCLUDES(lock) {
        const auto called = Current();
        if (called && *called) (*called)(arguments...);
    }

  private:
    std::shared_ptr<const std::function<Signature>> Current() EXCLUDES(lock) {
        MutexLock hold(lock);
        return function;
    }

    Mutex lock;  // a leaf
    std::shared_ptr<const std::function<Signature>> function GUARDED_BY(lock);
};

}  // namespace orrery
