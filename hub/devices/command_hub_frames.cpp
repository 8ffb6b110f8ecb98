#include "hub/devices/command_hub_frames.h"

#include "hub/base/json_text.h"

namespace orrery::hub {
namespace {

using Json = nlohmann::json;
using OrderedJson = nlohmann::ordered_json;

constexpr size_t maxDeviceId = 1024;  // bytes

enum FrameType : int {
    ErrorMessage = 3,
    Register = 10,
    Unregister = 11,
    Subscribe = 12,
    Unsubscribe = 13,
    WelcomeMessage = 20,
    UnregisterReply = 21,
    PushMessage = 100,
};

DeviceFrame Bad(std::string fault) {
    DeviceFrame frame;
    frame.fault = std::move(fault);
    return frame;
}

DeviceFrame::Kind KindOf(const Json& type) {
    if (type == Register) return DeviceFrame::Kind::Register;
    if (type == Unregister) return DeviceFrame::Kind::Unregister;
    if (type == Subscribe) return DeviceFrame::Kind::Subscribe;
    if (type == Unsubscribe) return DeviceFrame::Kind::Unsubscribe;
    return DeviceFrame::Kind::Bad;
}

bool ReadTopics(const Json& parameters, std::vector<std::string>& topics) {
    const auto list = parameters.find("Topics");
    if (list == parameters.end() || !list->is_array()) return false;
    for (const Json& topic : *list) {
        if (!topic.is_string()) return false;
        topics.push_back(topic.get<std::string>());
    }
    return true;
}

DeviceFrame ReadTyped(const Json& document) {
    const auto type = document.find("Type");
    if (type == document.end() || !type->is_number_integer()) return Bad("Type is missing or no integer");
    DeviceFrame frame;
    frame.kind = KindOf(*type);
    if (frame.kind == DeviceFrame::Kind::Bad) return Bad("Type " + type->dump() + " is unknown");

    const Json id = document.value("DeviceId", Json(""));
    if (!id.is_string()) return Bad("DeviceId is no string");
    frame.deviceId = id.get<std::string>();
    if (frame.deviceId.size() > maxDeviceId) return Bad("DeviceId is too long");
    if (frame.kind == DeviceFrame::Kind::Register && frame.deviceId.empty())
        return Bad("DeviceId is missing");

    const Json parameters = document.value("Parameters", Json::object());
    if (!parameters.is_object()) return Bad("Parameters is no object");
    const bool withTopics =
        frame.kind == DeviceFrame::Kind::Subscribe || frame.kind == DeviceFrame::Kind::Unsubscribe;
    if (withTopics && !ReadTopics(parameters, frame.topics)) return Bad("Topics is no array of strings");
    return frame;
}

std::string Write(FrameType type, OrderedJson parameters) {
    return Dump({{"Type", int{type}}, {"Parameters", std::move(parameters)}});
}

}  // namespace

DeviceFrame ReadDeviceFrame(std::string_view text) {
    if (NestedTooDeep(text)) return Bad("The frame is nested too deep");
    const Json document = Json::parse(text, nullptr, false);
    if (document.is_discarded()) return Bad("The frame is no JSON");
    if (!document.is_object()) return Bad("The frame is no JSON object");
    if (!document.empty()) return ReadTyped(document);
    DeviceFrame keepAlive;
    keepAlive.kind = DeviceFrame::Kind::KeepAlive;
    return keepAlive;
}

// The member's spelling is the protocol's.
std::string WelcomeFrame(const std::string& session) {
    return Write(WelcomeMessage, OrderedJson{{"SessiondId", session}});
}

std::string UnregisterReplyFrame() {
    return Write(UnregisterReply, OrderedJson::object());
}

std::string ErrorFrame(const std::string& text) {
    return Write(ErrorMessage, OrderedJson{{"Message", text}});
}

std::string ServerKeepAliveFrame() {
    return R"({"Type":2})";
}

std::string PushFrame(const std::string& topic, const std::string& message) {
    return Write(PushMessage, OrderedJson{{"Topic", topic}, {"Message", message}});
}

}  // namespace orrery::hub
