#include "hub/devices/device_handlers.h"

#include <optional>

#include "hub/base/json_text.h"

namespace orrery::hub {
namespace {

// Ordered, for the order of a message's events is the order of its members.
using Json = nlohmann::ordered_json;

constexpr int normalClosure = 1000;

HttpResponse NotConnected(const std::string& device) {
    return ErrorAnswer(404, "device " + device + " is not connected");
}

Json Describe(const BindRecord& bind) {
    return {{"provider", bind.provider ? Json(*bind.provider) : Json()},
            {"recipient", bind.recipient ? Json(*bind.recipient) : Json()},
            {"binds", bind.count},
            {"time", bind.time}};
}

Json Describe(const DeviceRecord& device) {
    return {{"device", device.device},
            {"connected", device.link != nullptr},
            {"session", device.session},
            {"topics", device.topics},
            {"connectedSince", device.connectedSince},
            {"keepAlives", device.keepAlives},
            {"frames", device.frames},
            {"registrations", device.registrations},
            {"viaProxy", device.info.viaProxy ? Json(*device.info.viaProxy) : Json()},
            {"remote", device.info.remote},
            {"bind", device.bind ? Describe(*device.bind) : Json()}};
}

HttpResponse ListDevices(const DeviceHub& hub, const HttpRequest& request) {
    const bool all = request.Query("all") == "1";
    Json list = Json::array();
    for (const auto& [id, device] : hub.Known()) {
        if (all || device.link) list.push_back(Describe(device));
    }
    return JsonAnswer(Dump(list));
}

std::optional<std::string> ReadString(const Json& object, const char* name) {
    const auto member = object.find(name);
    if (member == object.end() || !member->is_string()) return std::nullopt;
    return member->get<std::string>();
}

bool AddMessage(const Json& message, std::vector<std::string>& messages) {
    if (!message.is_object() && !message.is_string()) return false;
    messages.push_back(message.is_string() ? message.get<std::string>() : Dump(message));
    return true;
}

bool ReadMessages(const Json& body, std::vector<std::string>& messages) {
    const auto one = body.find("message");
    const auto many = body.find("messages");
    if ((one == body.end()) == (many == body.end())) return false;
    if (one != body.end()) return AddMessage(*one, messages);
    if (!many->is_array()) return false;
    for (const Json& message : *many) {
        if (!AddMessage(message, messages)) return false;
    }
    return true;
}

HttpResponse Push(DeviceHub& hub, const HttpRequest& request) {
    const Json body = ReadObject(request.body);
    if (!body.is_object()) return ErrorAnswer(400, unreadableBody);
    const auto topic = ReadString(body, "topic");
    if (!topic) return ErrorAnswer(400, "topic is missing or no string");
    std::vector<std::string> messages;
    if (!ReadMessages(body, messages))
        return ErrorAnswer(400, "one of message and messages is expected, of objects or strings");
    return JsonAnswer(Dump({{"reached", hub.Push(*topic, messages)}}));
}

HttpResponse SendFrame(DeviceHub& hub, const HttpRequest& request) {
    const std::string device = request.Query("device");
    const std::string kind = request.Query("kind");
    if (!kind.empty() && kind != "text" && kind != "binary")
        return ErrorAnswer(400, "kind is text or binary");
    const FrameKind frameKind = kind == "binary" ? FrameKind::Binary : FrameKind::Text;
    return hub.SendRaw(device, request.body, frameKind) ? JsonAnswer("{}") : NotConnected(device);
}

// The codes that may stand in a close frame.
bool IsCloseCode(int64_t code) {
    return code >= 1000 && code <= 4999 && code != 1004 && code != 1005 && code != 1006 && code != 1015;
}

HttpResponse Disconnect(DeviceHub& hub, const HttpRequest& request) {
    const Json body = ReadObject(request.body);
    if (!body.is_object()) return ErrorAnswer(400, unreadableBody);
    const auto device = ReadString(body, "device");
    const auto how = ReadString(body, "how");
    if (!device) return ErrorAnswer(400, "device is missing or no string");
    const Json code = body.value("code", Json(normalClosure));
    if (!code.is_number_integer() || !IsCloseCode(code.get<int64_t>()))
        return ErrorAnswer(400, "code can't stand in a close frame");

    bool done = false;
    if (how == "close")
        done = hub.Close(*device, code.get<uint16_t>());
    else if (how == "drop")
        done = hub.Drop(*device);
    else if (how == "stall")
        done = hub.Stall(*device);
    else
        return ErrorAnswer(400, "how is close, drop or stall");
    return done ? JsonAnswer("{}") : NotConnected(*device);
}

}  // namespace

void AddDeviceHandlers(Router& router, DeviceHub& hub) {
    router.Add("GET", "/api/health", [&hub](const HttpRequest&) {
        return JsonAnswer(Dump({{"devices", hub.Connected()}}));
    });
    router.Add("GET", "/api/devices",
               [&hub](const HttpRequest& request) { return ListDevices(hub, request); });
    router.Add("POST", "/api/push", [&hub](const HttpRequest& request) { return Push(hub, request); });
    router.Add("POST", "/api/frame", [&hub](const HttpRequest& request) { return SendFrame(hub, request); });
    router.Add("POST", "/api/disconnect",
               [&hub](const HttpRequest& request) { return Disconnect(hub, request); });
}

}  // namespace orrery::hub
