// One device's connection as the hub sees it. The hub decides what is sent and when a connection ends; how
// bytes travel is the link's affair. Nothing here blocks, and no call leads back into the hub before it
// returns. All calls come on the server's one thread.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace orrery::hub {

// Shared, so that a push to a thousand devices is held once.
using Frame = std::shared_ptr<const std::string>;
enum class FrameKind { Text, Binary };

struct LinkInfo {
    std::string remote;                   // ip:port
    std::optional<std::string> viaProxy;  // the header x-zelko-viaproxy of the upgrade request
};

class IDeviceLink {
  public:
    virtual ~IDeviceLink() = default;

    virtual const LinkInfo& Info() const = 0;
    // Queued; frames leave in this order. A device whose queue passes the limit is dropped.
    virtual void Send(Frame frame, FrameKind kind) = 0;
    // A close frame with `code` behind all that is queued; dropped if that doesn't end within seconds.
    virtual void Close(uint16_t code) = 0;
    // The TCP connection is reset.
    virtual void Drop() = 0;
    // Neither reads nor writes any more, but holds the TCP connection open until the device lets go of it.
    virtual void Stall() = 0;
};

}  // namespace orrery::hub
