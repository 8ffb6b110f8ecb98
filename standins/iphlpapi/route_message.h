// Reads one message of the kernel's routing socket (rtnetlink(7)). No state: any thread may call it.
#pragma once

#include <linux/netlink.h>

#include "interface_table.h"

namespace orrery::iphlpapi {

// False for a message that says nothing of an IP interface. The message is complete, as libmnl's iteration
// gives it.
bool ReadRouteMessage(const nlmsghdr* message, InterfaceChange& change);

}  // namespace orrery::iphlpapi
