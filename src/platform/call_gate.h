// Keeps calls from a target that is to go: calls enter and leave, and who withdraws the target waits for
// those inside. It knows no target and makes no call. Safe from any thread; its lock is a leaf, and none is
// held while a call is inside.
//
// A call may itself withdraw its target, and destroy the gate with it: nobody waits for a call of his own.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "platform/mutex.h"

namespace orrery {

class CallGate {
    class State;

  public:
    // A call's stay inside, which ends with this object. It may outlive the gate.
    class Visit {
      public:
        Visit(Visit&& other) noexcept = default;
        ~Visit() {
            if (state) state->Leave(number);
        }

        // False: the gate was closed, and the call must not be made.
        explicit operator bool() const { return state != nullptr; }

      private:
        friend class CallGate;
        Visit(std::shared_ptr<State> state, uint64_t number) : state(std::move(state)), number(number) {}

        std::shared_ptr<State> state;
        uint64_t number;
    };

    // On the thread that makes the call.
    Visit Enter() {
        const uint64_t number = state->Enter();
        return {number == 0 ? nullptr : state, number};
    }
    // For good: from here on no call enters. Then as AwaitOthers.
    void Close() {
        const auto kept = state;
        kept->Close();
        kept->AwaitOthers();
    }
    // Waits for the calls of other threads that are inside now, not for those that enter meanwhile.
    void AwaitOthers() {
        const auto kept = state;
        kept->AwaitOthers();
    }

  private:
    // Apart from the gate, so that it lasts until the last call and the last wait are over.
    class State {
      public:
        // 0 if closed.
        uint64_t Enter() EXCLUDES(lock) {
            MutexLock hold(lock);
            if (isClosed) return 0;
            inside.push_back({++entered, std::this_thread::get_id()});
            return entered;
        }
        void Leave(uint64_t number) EXCLUDES(lock) {
            MutexLock hold(lock);
            std::erase_if(inside, [number](const Call& call) { return call.number == number; });
            if (waiting != 0) left.notify_all();
        }
        void Close() EXCLUDES(lock) {
            MutexLock hold(lock);
            isClosed = true;
        }
        void AwaitOthers() EXCLUDES(lock) {
            const auto self = std::this_thread::get_id();
            MutexLock hold(lock);
            const auto isAwaited = [self, last = entered](const Call& call) {
                return call.thread != self && call.number <= last;
            };
            ++waiting;
            while (std::ranges::any_of(inside, isAwaited)) left.wait(lock);
            --waiting;
        }

      private:
        struct Call {
            uint64_t number;
            std::thread::id thread;
        };

        Mutex lock;
        ConditionVariable left;
        std::vector<Call> inside GUARDED_BY(lock);  // a thread's calls may nest
        uint64_t entered GUARDED_BY(lock) = 0;
        size_t waiting GUARDED_BY(lock) = 0;  // for others to leave; most calls leave unawaited
        bool isClosed GUARDED_BY(lock) = false;
    };

    const std::shared_ptr<State> state = std::make_shared<State>();
};

}  // namespace orrery
