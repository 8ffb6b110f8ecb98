// The frames of the CommandHub protocol as the server sees them: reading what a device sends, writing what
// the hub answers. No state, no sockets; any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orrery::hub {

struct DeviceFrame {
    enum class Kind { Bad, KeepAlive, Register, Unregister, Subscribe, Unsubscribe };

    Kind kind = Kind::Bad;
    std::string deviceId;             // never empty in a Register; empty elsewhere if the frame has none
    std::vector<std::string> topics;  // Subscribe and Unsubscribe
    std::string fault;                // Bad: what to tell the device
};

// Texts nested deeper than 512 are refused before parsing.
DeviceFrame ReadDeviceFrame(std::string_view text);

std::string WelcomeFrame(const std::string& session);
std::string UnregisterReplyFrame();
std::string ErrorFrame(const std::string& text);
std::string ServerKeepAliveFrame();
// `message` is a JSON text; it travels as a JSON string and isn't looked into.
std::string PushFrame(const std::string& topic, const std::string& message);

}  // namespace orrery::hub
