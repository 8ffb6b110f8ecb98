#include "route_socket.h"

#include <libmnl/libmnl.h>
#include <linux/rtnetlink.h>

#include <array>
#include <cerrno>
#include <utility>

#include "route_message.h"

namespace orrery::iphlpapi {
namespace {

// What libmnl's documentation asks for: the kernel sends a listing in pieces of up to this size.
constexpr size_t bufferSize = 32 * 1024;
using Buffer = std::array<char, bufferSize>;

// A listing that was disturbed by a change is asked for anew, this many times.
constexpr int listingAttempts = 5;

int CollectChange(const nlmsghdr* message, void* data) {
    InterfaceChange change;
    if (ReadRouteMessage(message, change)) {
        static_cast<std::vector<InterfaceChange>*>(data)->push_back(std::move(change));
    }
    return MNL_CB_OK;
}

int CollectListed(const nlmsghdr* message, void* data) {
    InterfaceChange change;
    if (ReadRouteMessage(message, change)) {
        static_cast<std::vector<InterfaceAddress>*>(data)->push_back(std::move(change.subject));
    }
    return MNL_CB_OK;
}

bool RequestListing(mnl_socket* socket, unsigned sequence) {
    alignas(nlmsghdr) std::array<char, NLMSG_SPACE(sizeof(rtgenmsg))> buffer{};
    nlmsghdr* message = mnl_nlmsg_put_header(buffer.data());
    message->nlmsg_type = RTM_GETADDR;
    message->nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    message->nlmsg_seq = sequence;
    auto* request = static_cast<rtgenmsg*>(mnl_nlmsg_put_extra_header(message, sizeof(rtgenmsg)));
    request->rtgen_family = AF_UNSPEC;
    return mnl_socket_sendto(socket, message, message->nlmsg_len) >= 0;
}

// False with errno; EINTR for a listing that a change has disturbed.
bool ReadListing(mnl_socket* socket, unsigned sequence, std::vector<InterfaceAddress>& addresses) {
    alignas(nlmsghdr) Buffer buffer;
    int outcome = MNL_CB_OK;
    while (outcome > MNL_CB_STOP) {
        const ssize_t size = mnl_socket_recvfrom(socket, buffer.data(), buffer.size());
        if (size < 0) return false;
        outcome = mnl_cb_run(buffer.data(), static_cast<size_t>(size), sequence,
                             mnl_socket_get_portid(socket), CollectListed, &addresses);
    }
    return outcome == MNL_CB_STOP;
}

}  // namespace

void RouteSocket::Close::operator()(mnl_socket* socket) const {
    mnl_socket_close(socket);
}

RouteSocket::Handle RouteSocket::OpenHandle(int flags, unsigned groups) {
    Handle handle(mnl_socket_open2(NETLINK_ROUTE, SOCK_CLOEXEC | flags));
    if (handle && mnl_socket_bind(handle.get(), groups, MNL_SOCKET_AUTOPID) < 0) return nullptr;
    return handle;
}

std::unique_ptr<RouteSocket> RouteSocket::Open() {
    Handle handle = OpenHandle(SOCK_NONBLOCK, RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR);
    if (!handle) return nullptr;
    return std::unique_ptr<RouteSocket>(new RouteSocket(std::move(handle)));
}

int RouteSocket::Descriptor() const {
    return mnl_socket_get_fd(handle.get());
}

RouteSocket::Result RouteSocket::Receive(std::vector<InterfaceChange>& changes) {
    alignas(nlmsghdr) Buffer buffer;
    const ssize_t size = mnl_socket_recvfrom(handle.get(), buffer.data(), buffer.size());
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) return Result::Empty;
    if (size < 0) return Result::Lost;  // ENOBUFS, or a datagram that was cut short
    const int outcome = mnl_cb_run(buffer.data(), static_cast<size_t>(size), 0, 0, CollectChange, &changes);
    return outcome < MNL_CB_STOP ? Result::Lost : Result::Read;
}

bool ListAddresses(std::vector<InterfaceAddress>& addresses) {
    bool complete = false;
    for (int attempt = 0; attempt < listingAttempts && !complete; ++attempt) {
        // A new socket each time: the rest of a disturbed listing goes with the old one.
        const RouteSocket::Handle handle = RouteSocket::OpenHandle(0, 0);
        addresses.clear();
        if (!handle || !RequestListing(handle.get(), 1)) return false;
        complete = ReadListing(handle.get(), 1, addresses);
    }
    return complete;
}

}  // namespace orrery::iphlpapi
