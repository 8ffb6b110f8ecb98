// The event dispatch library's object: a queue of events and the one thread that hands them to the receiver.
// It doesn't route, retry or keep events beyond its own life. Any thread may call it; it is destroyed by none
// of the receiver's calls.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <thread>

#include "contracts/eventgate.h"
#include "foundation/json/message_object.h"
#include "platform/call_gate.h"
#include "platform/mutex.h"

namespace orrery::eventgate {

class Eventgate final : public IEventgate {
  public:
    // Events that may wait. Beyond it somebody floods the agent, or nobody ever listens.
    static constexpr size_t maxQueuedEvents = 100'000;

    Eventgate() = default;
    // Delivers what is queued if there is a receiver, then ends the thread.
    ~Eventgate() override;

    // Waits for a call in flight, unless it is made from that call.
    void SetReceiver(IEventReceiver* newReceiver) override;
    // Also NotEnoughMemory for a full queue, and InvalidServerState once the destruction has begun. A
    // receiver that throws costs the event that it was given, and no other.
    uint32_t Dispatch(const WideString& text, bool flag) override;

  private:
    struct QueuedEvent {
        CMessageObject event;
        bool flag = false;
    };

    struct Delivery {
        CMessageObject event;
        bool flag;
        IEventReceiver* receiver;
        CallGate::Visit visit;
    };

    bool StartThreadLocked() REQUIRES(mutex);
    void DeliverEvents();
    std::optional<Delivery> BeginDelivery();

    CallGate calls;  // entered under `mutex`, so that a new receiver's caller finds the calls to the old one
    Mutex mutex;
    ConditionVariable changed;  // the queue, the receiver, `ending`
    std::deque<QueuedEvent> queue GUARDED_BY(mutex);
    IEventReceiver* receiver GUARDED_BY(mutex) = nullptr;
    std::thread thread GUARDED_BY(mutex);  // begins with the first event
    bool ending GUARDED_BY(mutex) = false;
};

}  // namespace orrery::eventgate
