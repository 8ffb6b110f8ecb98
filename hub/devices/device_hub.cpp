#include "hub/devices/device_hub.h"

#include <uuid/uuid.h>

#include <algorithm>

#include "hub/base/json_text.h"

namespace orrery::hub {
namespace {

constexpr uint16_t normalClosure = 1000;

std::string NewSession() {
    uuid_t id;
    char text[UUID_STR_LEN];
    uuid_generate_random(id);
    uuid_unparse_lower(id, text);
    return text;
}

Frame MakeFrame(std::string bytes) {
    return std::make_shared<const std::string>(std::move(bytes));
}

bool Contains(const std::vector<std::string>& topics, const std::string& topic) {
    return std::find(topics.begin(), topics.end(), topic) != topics.end();
}

void AddTopics(std::vector<std::string>& topics, const std::vector<std::string>& added) {
    for (const std::string& topic : added) {
        if (!Contains(topics, topic)) topics.push_back(topic);
    }
}

void RemoveTopics(std::vector<std::string>& topics, const std::vector<std::string>& removed) {
    std::erase_if(topics, [&](const std::string& topic) { return Contains(removed, topic); });
}

}  // namespace

void DeviceHub::Received(IDeviceLink& link, std::string_view text) {
    DeviceRecord* device = Of(link);
    if (device) ++device->frames;
    const DeviceFrame frame = ReadDeviceFrame(text);
    if (frame.kind == DeviceFrame::Kind::Bad) return Refuse(link, frame.fault);
    if (frame.kind == DeviceFrame::Kind::Register) return Register(link, frame.deviceId);
    if (!device) return Refuse(link, "The device is not registered");
    if (!frame.deviceId.empty() && frame.deviceId != device->device)
        return Refuse(link, "DeviceId is not the registered one");
    Serve(*device, frame);
}

void DeviceHub::ReceivedBinary(IDeviceLink& link) {
    if (DeviceRecord* device = Of(link)) ++device->frames;
    Refuse(link, "Binary frames are not taken");
}

void DeviceHub::Lost(IDeviceLink& link) {
    DeviceRecord* device = Of(link);
    if (!device) return;
    Log("lost " + Quoted(device->device));
    Forget(*device);
}

size_t DeviceHub::Push(const std::string& topic, const std::vector<std::string>& messages) {
    std::vector<IDeviceLink*> reached;
    for (const auto& [id, device] : known) {
        if (device.link && Contains(device.topics, topic)) reached.push_back(device.link);
    }
    if (!reached.empty()) {
        for (const std::string& message : messages) {
            const Frame frame = MakeFrame(PushFrame(topic, message));
            for (IDeviceLink* link : reached) link->Send(frame, FrameKind::Text);
        }
    }
    Log("push of " + std::to_string(messages.size()) + " on " + Quoted(topic) + " reached " +
        std::to_string(reached.size()));
    return reached.size();
}

bool DeviceHub::Close(const std::string& id, uint16_t code) {
    DeviceRecord* device = Find(id);
    if (!device) return false;
    Log("closing " + Quoted(id) + " with " + std::to_string(code));
    device->link->Close(code);
    Forget(*device);
    return true;
}

bool DeviceHub::Drop(const std::string& id) {
    DeviceRecord* device = Find(id);
    if (!device) return false;
    Log("dropping " + Quoted(id));
    device->link->Drop();
    Forget(*device);
    return true;
}

bool DeviceHub::Stall(const std::string& id) {
    DeviceRecord* device = Find(id);
    if (!device) return false;
    Log("stalling " + Quoted(id));
    device->link->Stall();
    return true;
}

bool DeviceHub::SendRaw(const std::string& id, std::string bytes, FrameKind kind) {
    DeviceRecord* device = Find(id);
    if (!device) return false;
    device->link->Send(MakeFrame(std::move(bytes)), kind);
    return true;
}

void DeviceHub::Bind(const std::string& id, std::optional<int64_t> provider,
                     std::optional<std::string> recipient) {
    DeviceRecord& device = known[id];
    device.device = id;
    const size_t before = device.bind ? device.bind->count : 0;
    device.bind = {provider, std::move(recipient), before + 1, clock.Iso()};
}

void DeviceHub::SendKeepAlive() {
    const Frame frame = MakeFrame(ServerKeepAliveFrame());
    for (const auto& [link, device] : registered) device->link->Send(frame, FrameKind::Text);
}

void DeviceHub::CloseAll(uint16_t code) {
    for (const auto& [link, device] : registered) device->link->Close(code);
}

// A device that registers again starts anew: without topics, with its counters at zero.
void DeviceHub::Register(IDeviceLink& link, const std::string& id) {
    if (DeviceRecord* before = Of(link)) Forget(*before);
    DeviceRecord& device = known[id];
    if (device.link) {
        Log("replaced " + Quoted(id));
        device.link->Close(normalClosure);
        Forget(device);
    }
    device = {.device = id,
              .session = NewSession(),
              .topics = {},
              .connectedSince = clock.Iso(),
              .keepAlives = 0,
              .frames = 1,
              .info = link.Info(),
              .link = &link,
              .registrations = device.registrations + 1,
              .bind = std::move(device.bind)};
    registered[&link] = &device;
    Log("registered " + Quoted(id) + " from " + device.info.remote + ", session " + device.session);
    link.Send(MakeFrame(WelcomeFrame(device.session)), FrameKind::Text);
}

void DeviceHub::Serve(DeviceRecord& device, const DeviceFrame& frame) {
    switch (frame.kind) {
        case DeviceFrame::Kind::KeepAlive:
            ++device.keepAlives;
            return;
        case DeviceFrame::Kind::Subscribe:
            return AddTopics(device.topics, frame.topics);
        case DeviceFrame::Kind::Unsubscribe:
            return RemoveTopics(device.topics, frame.topics);
        case DeviceFrame::Kind::Unregister:
            Log("unregistered " + Quoted(device.device));
            device.link->Send(MakeFrame(UnregisterReplyFrame()), FrameKind::Text);
            return Forget(device);
        case DeviceFrame::Kind::Bad:
        case DeviceFrame::Kind::Register:
            return;
    }
}

void DeviceHub::Refuse(IDeviceLink& link, const std::string& why) {
    Log("refused a frame from " + link.Info().remote + ": " + why);
    link.Send(MakeFrame(ErrorFrame(why)), FrameKind::Text);
}

void DeviceHub::Forget(DeviceRecord& device) {
    registered.erase(device.link);
    device.link = nullptr;
}

DeviceRecord* DeviceHub::Find(const std::string& id) {
    const auto found = known.find(id);
    return found != known.end() && found->second.link ? &found->second : nullptr;
}

DeviceRecord* DeviceHub::Of(const IDeviceLink& link) {
    const auto found = registered.find(&link);
    return found != registered.end() ? found->second : nullptr;
}

void DeviceHub::Log(const std::string& line) const {
    if (log) log(line);
}

}  // namespace orrery::hub
