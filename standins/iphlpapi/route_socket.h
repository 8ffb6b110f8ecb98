// The kernel's routing socket: a stream of interface changes, and the listing of all addresses. It keeps no
// state of interfaces. One thread at a time; it speaks for the network namespace of the thread that opened
// it.
#pragma once

#include <memory>
#include <vector>

#include "interface_table.h"

struct mnl_socket;

namespace orrery::iphlpapi {

class RouteSocket {
  public:
    enum class Result : uint8_t { Read, Empty, Lost };  // Lost: the kernel dropped changes

    // Changes from here on are kept for Receive. Null with errno on failure.
    static std::unique_ptr<RouteSocket> Open();
    RouteSocket(const RouteSocket&) = delete;
    RouteSocket& operator=(const RouteSocket&) = delete;

    int Descriptor() const;  // readable when Receive has something to say
    // Appends what one datagram holds. Never waits.
    Result Receive(std::vector<InterfaceChange>& changes);

  private:
    struct Close {
        void operator()(mnl_socket* socket) const;
    };
    using Handle = std::unique_ptr<mnl_socket, Close>;

    friend bool ListAddresses(std::vector<InterfaceAddress>& addresses);
    static Handle OpenHandle(int flags, unsigned groups);
    explicit RouteSocket(Handle handle) : handle(std::move(handle)) {}

    Handle handle;
};

// All addresses of the calling thread's network namespace. False with errno on failure. The kernel answers at
// once, so it doesn't wait for anybody.
bool ListAddresses(std::vector<InterfaceAddress>& addresses);

}  // namespace orrery::iphlpapi
