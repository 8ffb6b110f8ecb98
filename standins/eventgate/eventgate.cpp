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
    {
        MutexLock lock(mutex);
        receiver = newReceiver;
    }
    changed.notify_all();
    calls.AwaitOthers();
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
    while (const auto next = BeginDelivery()) {
        try {
            next->receiver->OnEvent(next->event, next->flag);
        } catch (...) {
            // Nobody above could do more about it than the receiver itself.
        }
    }
}

// None once there is nothing left to do.
std::optional<Eventgate::Delivery> Eventgate::BeginDelivery() {
    MutexLock lock(mutex);
    while (!receiver || queue.empty()) {
        if (ending) return {};
        changed.wait(mutex);
    }
    QueuedEvent next = std::move(queue.front());
    queue.pop_front();
    return Delivery{std::move(next.event), next.flag, receiver, calls.Enter()};
}

}  // namespace orrery::eventgate
