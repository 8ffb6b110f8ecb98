// Whether the channel's connection is still there, as the system's table of connections has it: at a connect
// it notes the connections of this process that lead to the server or to a proxy of the settings, and later
// looks whether one of these is still established. It sends nothing; a peer that went silently still counts
// as there.
//
// NoteConnect comes on the event library's delivering thread, IsUp on the main thread.
#pragma once

#include <cstdint>
#include <optional>
#include <set>

#include "contracts/config_util.h"
#include "platform/mutex.h"

namespace orrery::agent {

class ConnectionProbe {
  public:
    // The store outlives the probe.
    explicit ConnectionProbe(ConfigUtil& store) : store(store) {}

    void NoteConnect();
    // None if it can't be told, such as when the connection goes through a proxy that the settings don't
    // name.
    std::optional<bool> IsUp();

  private:
    ConfigUtil& store;

    Mutex lock;
    std::set<uint64_t> noted GUARDED_BY(lock);  // by the system's number of the socket
};

// The ports that a connection of the channel can lead to, by the settings.
std::set<uint16_t> ChannelPorts(ConfigUtil& store);

}  // namespace orrery::agent
