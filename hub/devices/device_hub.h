// Who is registered, for which topics, and what each frame of a device leads to. It holds no sockets: it
// hears of links and speaks to them through IDeviceLink. Nothing is locked and nothing needs to be: the
// server runs on one thread, and every call comes from there.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "hub/base/hub_clock.h"
#include "hub/base/log_line.h"
#include "hub/devices/command_hub_frames.h"
#include "hub/devices/device_link.h"

namespace orrery::hub {

// What a device said of how it is to be reached; nothing where it didn't.
struct BindRecord {
    std::optional<int64_t> provider;
    std::optional<std::string> recipient;
    size_t count = 0;  // since the hub started
    std::string time;  // of the latest; ISO 8601, UTC
};

struct DeviceRecord {
    std::string device;
    std::string session;  // of the latest registration, as are all fields below but the last two
    std::vector<std::string> topics;
    std::string connectedSince;  // ISO 8601, UTC
    size_t keepAlives = 0;
    size_t frames = 0;  // received, the Register frame included
    LinkInfo info;
    IDeviceLink* link = nullptr;  // null while not connected; not owned
    size_t registrations = 0;     // of this device id since the hub started
    std::optional<BindRecord> bind;
};

class DeviceHub {
  public:
    DeviceHub(LogLine log, HubClock clock) : log(std::move(log)), clock(clock) {}
    DeviceHub(const DeviceHub&) = delete;
    DeviceHub& operator=(const DeviceHub&) = delete;

    // From the links.
    void Received(IDeviceLink& link, std::string_view text);
    void ReceivedBinary(IDeviceLink& link);
    void Lost(IDeviceLink& link);  // the link may be destroyed after this; harmless if it isn't registered

    // The messages go to each device with the topic, in order. Gives the number of devices.
    size_t Push(const std::string& topic, const std::vector<std::string>& messages);
    // A closed or dropped device counts as gone at once; a stalled one stays. False if it isn't connected.
    bool Close(const std::string& device, uint16_t code);
    bool Drop(const std::string& device);
    bool Stall(const std::string& device);
    bool SendRaw(const std::string& device, std::string bytes, FrameKind kind);
    // The device needn't be connected, nor ever have been.
    void Bind(const std::string& device, std::optional<int64_t> provider,
              std::optional<std::string> recipient);
    void SendKeepAlive();
    void CloseAll(uint16_t code);

    // Every device id that was ever registered or bound, in the order of the ids.
    const std::map<std::string, DeviceRecord>& Known() const { return known; }
    size_t Connected() const { return registered.size(); }

  private:
    void Register(IDeviceLink& link, const std::string& id);
    void Serve(DeviceRecord& device, const DeviceFrame& frame);
    void Refuse(IDeviceLink& link, const std::string& why);
    void Forget(DeviceRecord& device);
    DeviceRecord* Find(const std::string& device);
    DeviceRecord* Of(const IDeviceLink& link);
    void Log(const std::string& line) const;

    const LogLine log;
    const HubClock clock;
    std::map<std::string, DeviceRecord> known;
    std::unordered_map<const IDeviceLink*, DeviceRecord*> registered;
};

}  // namespace orrery::hub
