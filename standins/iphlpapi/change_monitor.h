// Serves the registrations with what the routing socket says, on one thread of its own that sleeps until the
// kernel or a caller has something for it. It holds no process-wide state: see exports.cpp. Any thread may
// call it, callbacks included.
#pragma once

#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

#include "contracts/iphlpapi.h"
#include "interface_table.h"
#include "platform/call_gate.h"
#include "platform/mutex.h"
#include "route_socket.h"

namespace orrery::iphlpapi {

class ChangeMonitor {
  public:
    struct Registration {
        uint16_t family;  // 0 for both
        IpInterfaceChangeCallback callback;
        void* context;
        bool initialOwed;  // an initial notification is still to come; of the thread
        CallGate calls{};  // closed by the cancellation
    };

    // What exists now is known, and not reported. Null with errno on failure.
    static std::shared_ptr<ChangeMonitor> Create();
    ~ChangeMonitor();
    ChangeMonitor(const ChangeMonitor&) = delete;
    ChangeMonitor& operator=(const ChangeMonitor&) = delete;

    // The thread keeps `self`, which is this object, while it runs. Throws std::system_error if the system
    // has no thread left.
    void Start(std::shared_ptr<ChangeMonitor> self);
    // `handle` is set before the first call, so that the callback itself may cancel by it.
    void Add(std::shared_ptr<Registration> registration, void** handle);
    // Null if there is no such registration. The caller is to close its gate.
    std::shared_ptr<Registration> Remove(void* handle);
    bool HasRegistrations();
    // Ends the thread, once and with no registration left. Waits for it, unless it is made from a callback:
    // then the thread ends when that has returned.
    void End();

  private:
    ChangeMonitor(std::unique_ptr<RouteSocket> socket, int wakeDescriptor);

    void Run();
    bool WaitForWork();
    void Wake();
    void NotifyInitially();
    void NotifyChanges();
    std::vector<Notification> ReadChanges();
    std::vector<Notification> ListAnew();
    std::vector<std::shared_ptr<Registration>> Registrations();
    void Call(Registration& registration, const IpInterfaceRow* row, NotificationType type);

    const std::unique_ptr<RouteSocket> socket;  // of the thread, once that runs
    const int wakeDescriptor;                   // eventfd

    InterfaceTable table;  // of the thread, once that runs
    bool listingOwed = false;
    std::thread thread;  // of Start and End

    Mutex mutex;
    std::vector<std::shared_ptr<Registration>> registrations GUARDED_BY(mutex);
    bool ending GUARDED_BY(mutex) = false;
};

}  // namespace orrery::iphlpapi
