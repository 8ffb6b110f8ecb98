// The lowest level of the push chain: a pipe for text frames. Each level calls the one below through its
// interface and hears from it through the functions that it sets.
#pragma once

#include <cstdint>
#include <functional>

#include "contracts/wide_string.h"

namespace orrery {

// What the channel believes; no other value is ever stored.
enum ChannelState : int32_t { ChannelClosed = 1, ChannelConnected = 2 };

using ConnectHandler = std::function<void()>;
using CloseHandler = std::function<void()>;
using ChannelMessageHandler = std::function<void(const WideString& text)>;

class IPushChannel {
  public:
    virtual ~IPushChannel() = default;
    virtual bool Connect() = 0;  // a connection stands
    virtual void Close() = 0;
    virtual int32_t GetState() = 0;
    virtual bool Send(const WideString& text) = 0;  // the frame was reported as sent
    // Each replaces the earlier one; to be set before Connect.
    virtual void SetConnectHandler(ConnectHandler handler) = 0;
    virtual void SetMessageHandler(ChannelMessageHandler handler) = 0;
    virtual void SetCloseHandler(CloseHandler handler) = 0;
};

}  // namespace orrery
