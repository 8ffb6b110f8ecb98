#include "change_monitor.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <utility>

namespace orrery::iphlpapi {

std::shared_ptr<ChangeMonitor> ChangeMonitor::Create() {
    // First the stream, then the listing: a change between the two is met twice rather than never.
    std::unique_ptr<RouteSocket> socket = RouteSocket::Open();
    std::vector<InterfaceAddress> addresses;
    if (!socket || !ListAddresses(addresses)) return nullptr;
    const int wakeDescriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wakeDescriptor < 0) return nullptr;
    std::shared_ptr<ChangeMonitor> monitor(new ChangeMonitor(std::move(socket), wakeDescriptor));
    monitor->table.Replace(addresses);
    return monitor;
}

ChangeMonitor::ChangeMonitor(std::unique_ptr<RouteSocket> socket, int wakeDescriptor)
    : socket(std::move(socket)), wakeDescriptor(wakeDescriptor) {}

ChangeMonitor::~ChangeMonitor() {
    close(wakeDescriptor);
}

void ChangeMonitor::Start(std::shared_ptr<ChangeMonitor> self) {
    thread = std::thread([self = std::move(self)] { self->Run(); });
}

void ChangeMonitor::Add(std::shared_ptr<Registration> registration, void** handle) {
    MutexLock lock(mutex);
    *handle = registration.get();
    if (registration->initialOwed) Wake();
    registrations.push_back(std::move(registration));
}

std::shared_ptr<ChangeMonitor::Registration> ChangeMonitor::Remove(void* handle) {
    MutexLock lock(mutex);
    const auto found = std::find_if(registrations.begin(), registrations.end(),
                                    [handle](const auto& entry) { return entry.get() == handle; });
    if (found == registrations.end()) return nullptr;
    auto removed = std::move(*found);
    registrations.erase(found);
    return removed;
}

bool ChangeMonitor::HasRegistrations() {
    MutexLock lock(mutex);
    return !registrations.empty();
}

void ChangeMonitor::End() {
    {
        MutexLock lock(mutex);
        ending = true;
        Wake();
    }
    if (thread.get_id() == std::this_thread::get_id()) {
        thread.detach();
    } else {
        thread.join();
    }
}

void ChangeMonitor::Run() {
    while (WaitForWork()) {
        NotifyInitially();
        NotifyChanges();
    }
}

// False at the end.
bool ChangeMonitor::WaitForWork() {
    std::array<pollfd, 2> sources{{{wakeDescriptor, POLLIN, 0}, {socket->Descriptor(), POLLIN, 0}}};
    poll(sources.data(), sources.size(), -1);
    eventfd_t count = 0;
    eventfd_read(wakeDescriptor, &count);
    MutexLock lock(mutex);
    return !ending;
}

void ChangeMonitor::Wake() {
    eventfd_write(wakeDescriptor, 1);
}

void ChangeMonitor::NotifyInitially() {
    for (const auto& registration : Registrations()) {
        if (std::exchange(registration->initialOwed, false))
            Call(*registration, nullptr, InitialNotification);
    }
}

void ChangeMonitor::NotifyChanges() {
    for (const Notification& notification : ReadChanges()) {
        for (const auto& registration : Registrations()) {
            const uint16_t family = registration->family;
            if (family != 0 && family != notification.row.family) continue;
            Call(*registration, &notification.row, notification.type);
        }
    }
}

std::vector<Notification> ChangeMonitor::ReadChanges() {
    if (listingOwed) return ListAnew();
    std::vector<InterfaceChange> changes;
    if (socket->Receive(changes) == RouteSocket::Result::Lost) return ListAnew();
    std::vector<Notification> notifications;
    for (const InterfaceChange& change : changes) {
        const std::vector<Notification> more = table.Apply(change);
        notifications.insert(notifications.end(), more.begin(), more.end());
    }
    return notifications;
}

// What the kernel dropped can't be told from what is still queued, so all of it goes before the listing: an
// old change behind a new listing would bring back what is gone.
std::vector<Notification> ChangeMonitor::ListAnew() {
    std::vector<InterfaceChange> discarded;
    while (socket->Receive(discarded) != RouteSocket::Result::Empty) discarded.clear();
    std::vector<InterfaceAddress> addresses;
    listingOwed = !ListAddresses(addresses);  // tried again with the next change
    return listingOwed ? std::vector<Notification>() : table.Replace(addresses);
}

std::vector<std::shared_ptr<ChangeMonitor::Registration>> ChangeMonitor::Registrations() {
    MutexLock lock(mutex);
    return registrations;
}

void ChangeMonitor::Call(Registration& registration, const IpInterfaceRow* row, NotificationType type) {
    const CallGate::Visit visit = registration.calls.Enter();
    if (!visit) return;
    try {
        registration.callback(registration.context, row, type);
    } catch (...) {
        // A callback that fails costs that call; the other registrations still need this thread.
    }
}

}  // namespace orrery::iphlpapi
