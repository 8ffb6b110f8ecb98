// What is known of the IP interfaces, and what a change of it means to those who listen. It reads no socket
// and calls nobody: changes go in, notifications come out. One thread at a time.
//
// A family of an interface is an IP interface from its first address of that family to its last one.
#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "contracts/iphlpapi.h"

namespace orrery::iphlpapi {

struct InterfaceAddress {
    uint16_t family = 0;  // AF_INET or AF_INET6
    uint32_t interfaceIndex = 0;
    std::string address;  // bytes that tell the interface's addresses apart
};

struct InterfaceChange {
    enum class Kind : uint8_t { AddressAdded, AddressRemoved, LinkChanged, LinkRemoved };

    Kind kind = Kind::LinkChanged;
    InterfaceAddress subject;  // of a link only the index
};

struct Notification {
    IpInterfaceRow row;
    NotificationType type;
};

class InterfaceTable {
  public:
    // A change that the table knows already, as after a fresh listing, is a change of parameters if the
    // interface is there, and nothing if it isn't.
    std::vector<Notification> Apply(const InterfaceChange& change);
    // `addresses` is all that there is now; the notifications lead there from what was.
    std::vector<Notification> Replace(const std::vector<InterfaceAddress>& addresses);

  private:
    struct Key {
        uint32_t interfaceIndex;
        uint16_t family;
        auto operator<=>(const Key&) const = default;
    };
    using Interfaces = std::map<Key, std::set<std::string>>;  // no set is empty

    static Notification Notice(const Key& key, NotificationType type);
    NotificationType Add(const InterfaceAddress& address);
    std::vector<Notification> Remove(const InterfaceAddress& address);
    std::vector<Notification> RemoveLink(uint32_t interfaceIndex);
    // One for each family that the interface has.
    std::vector<Notification> LinkNotices(uint32_t interfaceIndex, NotificationType type) const;

    Interfaces interfaces;
};

}  // namespace orrery::iphlpapi
