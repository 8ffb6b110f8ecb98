// The highest level of the push chain: what the manager starts, stops and asks.
#pragma once

#include "channel/i_push_channel.h"
#include "contracts/wide_string.h"

namespace orrery {

class IPushManager {
  public:
    virtual ~IPushManager() = default;
    virtual bool Start() = 0;  // one attempt
    virtual void Stop() = 0;
    virtual bool IsConnected() = 0;
    virtual void SetConnectHandler(ConnectHandler handler) = 0;
    virtual void SetCloseHandler(CloseHandler handler) = 0;
    virtual void OnConnect() = 0;
    virtual void OnMessage(const WideString& topic, const WideString& message) = 0;
    virtual void OnClose() = 0;
};

}  // namespace orrery
