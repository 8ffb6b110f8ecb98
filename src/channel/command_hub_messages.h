// The frames of the CommandHub protocol: what the device writes, and how it reads what the server sent. Pure.
#pragma once

#include <cstdint>
#include <vector>

#include "foundation/json/message_object.h"

namespace orrery {

// Values of the member `Type`.
enum CommandHubType : int32_t {
    ServerKeepAlive = 2,
    ErrorMessage = 3,
    RegisterMessage = 10,
    UnregisterMessage = 11,
    SubscribeMessage = 12,
    UnsubscribeMessage = 13,
    WelcomeMessage = 20,
    UnregisterReply = 21,
    PushMessage = 100,
};

// The device's keep-alive has neither type nor id.
inline constexpr char16_t keepAliveFrame[] = u"{}";

// `{"Type":...,"DeviceId":...,"Parameters":{...}}`; null `parameters` gives an empty object.
WideString MakeCommandHubMessage(CommandHubType type, const WideString& deviceId,
                                 const CMessageObject* parameters);
// The parameters of SubscribeMessage and UnsubscribeMessage.
CMessageObject MakeTopics(const std::vector<WideString>& topics);

// A frame from the server, as far as it is read.
class CommandHubFrame {
  public:
    // False for a text that doesn't parse or has no Integer `Type`.
    bool Read(const WideString& text);

    int32_t Type() const { return type; }
    bool HasParameters() const { return parameters != nullptr; }
    // A String member of `Parameters`; empty if there is none. It stays the frame's.
    const WideString& GetParameter(WideView name) const;

  private:
    CMessageObject root;
    const CMessageObject* parameters = nullptr;
    int32_t type = 0;
};

}  // namespace orrery
