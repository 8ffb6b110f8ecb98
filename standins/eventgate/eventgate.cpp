#include "eventgate.h"

#include <system_error>
#include <utility>
#include <vector>

#include "event_document.h"
#include "platform/error_codes.h"

namespace orrery::eventgate {

Eventgate::~Eventgate() {
    {
        MutexLock lock(mutex);
        ending = true;
    }
    changed.notify_all();
    if (thread.joinable()) thread.join();
}

void Eventgate::SetReceiver(IEventReceiver* newReceiver) {
    MutexLock lock(mutex);
    receiver = newReceiver;
    changed.notify_all();
    const uint64_t lastOfOld = callsBegun;
    const std::thread::id none;
    while (caller != none && caller != std::this_thread::get_id() && callsBegun == lastOfOld) {
        changed.wait(mutex);
    }
}

uint32_t Eventgate::Dispatch(const WideString& text, bool flag) {
    std::vector<CMessageObject> events;
    if (!ReadEvents(text, events)) return InvalidParameter;

    MutexLock lock(mutex);
    if (ending) return InvalidServerState;
    if (events.size() > maxQueuedEvents - queue.size()) return NotEnoughMemory;
    if (!StartThreadLocked()) return NotEnoughMemory;
    for (CMessageObject& event : events) queue.push_back({std::move(event), flag});
    changed.notify_all();
    return Success;
}

bool Eventgate::StartThreadLocked() {
    if (thread.joinable()) return true;
    try {
        thread = std::thread([this] { DeliverEvents(); });
        return true;
    } catch (const std::system_error&) {
        return false;
    }
}

void Eventgate::DeliverEvents() {
    QueuedEvent next;
    IEventReceiver* target = nullptr;
    while (BeginCall(next, target)) {
        try {
            target->OnEvent(next.event, next.flag);
        } catch (...) {
            // Nobody above could do more about it than the receiver itself.
        }
        EndCall();
    }
}

// False once there is nothing left to do.
bool Eventgate::BeginCall(QueuedEvent& next, IEventReceiver*& target) {
    MutexLock lock(mutex);
    while (!receiver || queue.empty()) {
        if (ending) return false;
        changed.wait(mutex);
    }
    next = std::move(queue.front());
    queue.pop_front();
    target = receiver;
    caller = std::this_thread::get_id();
    ++callsBegun;
    return true;
}

void Eventgate::EndCall() {
    MutexLock lock(mutex);
    caller = std::thread::id();
    changed.notify_all();
}

}  // namespace orrery::eventgate
