// The one object behind a library's Get and Free exports: made for the first user, gone with the last. Safe
// from any thread; the object ends outside the lock, as what it waits for then may come back to the exports.
#pragma once

#include <exception>
#include <memory>
#include <utility>

#include "platform/mutex.h"

namespace orrery::standins {

template <class Object>
class CountedObject {
  public:
    // Null if it can't be made.
    template <class Make>
    Object* Acquire(Make&& make) EXCLUDES(lock) {
        try {
            MutexLock hold(lock);
            if (!object) object = make().release();
            ++uses;
            return object;
        } catch (const std::exception&) {
            return nullptr;
        }
    }

    // Clears the user's pointer.
    template <class Interface>
    void Release(Interface** pointer) EXCLUDES(lock) {
        if (!pointer || !*pointer) return;
        *pointer = nullptr;
        std::unique_ptr<Object> last;
        MutexLock hold(lock);
        if (uses > 0 && --uses == 0) last.reset(std::exchange(object, nullptr));
    }

  private:
    Mutex lock;
    uint32_t uses GUARDED_BY(lock) = 0;
    // Raw: at the end of the process users may be left, so nothing but the last Release may destroy it.
    Object* object GUARDED_BY(lock) = nullptr;
};

}  // namespace orrery::standins
