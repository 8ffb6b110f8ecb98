#include "route_message.h"

#include <libmnl/libmnl.h>
#include <linux/if_addr.h>
#include <linux/rtnetlink.h>

#include <string>

namespace orrery::iphlpapi {
namespace {

int CollectAddress(const nlattr* attribute, void* data) {
    const uint16_t type = mnl_attr_get_type(attribute);
    if (type == IFA_LOCAL || type == IFA_ADDRESS) {
        auto& bytes = *static_cast<std::string*>(data);
        bytes += static_cast<char>(type);
        bytes.append(static_cast<const char*>(mnl_attr_get_payload(attribute)),
                     mnl_attr_get_payload_len(attribute));
    }
    return MNL_CB_OK;
}

// The kernel tells addresses apart by their own bytes, their peer's and the length of the prefix.
bool ReadAddress(const nlmsghdr* message, InterfaceAddress& address) {
    if (mnl_nlmsg_get_payload_len(message) < sizeof(ifaddrmsg)) return false;
    const auto& header = *static_cast<const ifaddrmsg*>(mnl_nlmsg_get_payload(message));
    if (header.ifa_family != AF_INET && header.ifa_family != AF_INET6) return false;
    address.family = header.ifa_family;
    address.interfaceIndex = header.ifa_index;
    address.address.assign(1, static_cast<char>(header.ifa_prefixlen));
    mnl_attr_parse(message, sizeof(header), CollectAddress, &address.address);
    return true;
}

// A message of another family speaks of the link's part in, say, a bridge: its removal isn't the link's.
bool ReadLink(const nlmsghdr* message, InterfaceAddress& link) {
    if (mnl_nlmsg_get_payload_len(message) < sizeof(ifinfomsg)) return false;
    const auto& header = *static_cast<const ifinfomsg*>(mnl_nlmsg_get_payload(message));
    if (header.ifi_family != AF_UNSPEC) return false;
    link.interfaceIndex = static_cast<uint32_t>(header.ifi_index);
    return true;
}

}  // namespace

bool ReadRouteMessage(const nlmsghdr* message, InterfaceChange& change) {
    using Kind = InterfaceChange::Kind;
    switch (message->nlmsg_type) {
        case RTM_NEWADDR:
            change.kind = Kind::AddressAdded;
            return ReadAddress(message, change.subject);
        case RTM_DELADDR:
            change.kind = Kind::AddressRemoved;
            return ReadAddress(message, change.subject);
        case RTM_NEWLINK:
            change.kind = Kind::LinkChanged;
            return ReadLink(message, change.subject);
        case RTM_DELLINK:
            change.kind = Kind::LinkRemoved;
            return ReadLink(message, change.subject);
        default:
            return false;
    }
}

}  // namespace orrery::iphlpapi
