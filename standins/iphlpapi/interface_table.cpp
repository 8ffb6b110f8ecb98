#include "interface_table.h"

#include <sys/socket.h>

#include <initializer_list>
#include <utility>

namespace orrery::iphlpapi {

std::vector<Notification> InterfaceTable::Apply(const InterfaceChange& change) {
    const InterfaceAddress& subject = change.subject;
    switch (change.kind) {
        case InterfaceChange::Kind::AddressAdded:
            return {Notice({subject.interfaceIndex, subject.family}, Add(subject))};
        case InterfaceChange::Kind::AddressRemoved:
            return Remove(subject);
        case InterfaceChange::Kind::LinkChanged:
            return LinkNotices(subject.interfaceIndex, ParameterNotification);
        case InterfaceChange::Kind::LinkRemoved:
            return RemoveLink(subject.interfaceIndex);
    }
    return {};
}

std::vector<Notification> InterfaceTable::Replace(const std::vector<InterfaceAddress>& addresses) {
    const Interfaces before = std::exchange(interfaces, {});
    for (const InterfaceAddress& address : addresses) Add(address);

    std::vector<Notification> notifications;
    for (const auto& [key, known] : before) {
        if (!interfaces.contains(key)) notifications.push_back(Notice(key, DeleteInstance));
    }
    for (const auto& [key, now] : interfaces) {
        const auto known = before.find(key);
        if (known == before.end()) {
            notifications.push_back(Notice(key, AddInstance));
        } else if (known->second != now) {
            notifications.push_back(Notice(key, ParameterNotification));
        }
    }
    return notifications;
}

Notification InterfaceTable::Notice(const Key& key, NotificationType type) {
    return {{key.family, key.interfaceIndex}, type};
}

NotificationType InterfaceTable::Add(const InterfaceAddress& address) {
    std::set<std::string>& known = interfaces[{address.interfaceIndex, address.family}];
    const NotificationType type = known.empty() ? AddInstance : ParameterNotification;
    known.insert(address.address);
    return type;
}

std::vector<Notification> InterfaceTable::Remove(const InterfaceAddress& address) {
    const Key key{address.interfaceIndex, address.family};
    const auto found = interfaces.find(key);
    if (found == interfaces.end()) return {};
    found->second.erase(address.address);
    if (!found->second.empty()) return {Notice(key, ParameterNotification)};
    interfaces.erase(found);
    return {Notice(key, DeleteInstance)};
}

std::vector<Notification> InterfaceTable::RemoveLink(uint32_t interfaceIndex) {
    std::vector<Notification> notifications = LinkNotices(interfaceIndex, DeleteInstance);
    interfaces.erase({interfaceIndex, AF_INET});
    interfaces.erase({interfaceIndex, AF_INET6});
    return notifications;
}

std::vector<Notification> InterfaceTable::LinkNotices(uint32_t interfaceIndex, NotificationType type) const {
    std::vector<Notification> notifications;
    for (const uint16_t family : std::initializer_list<uint16_t>{AF_INET, AF_INET6}) {
        const Key key{interfaceIndex, family};
        if (interfaces.contains(key)) notifications.push_back(Notice(key, type));
    }
    return notifications;
}

}  // namespace orrery::iphlpapi
