// The middle level of the push chain: a conversation with the push server.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "channel/i_push_channel.h"
#include "contracts/wide_string.h"

namespace orrery {

using ServiceMessageHandler = std::function<void(const WideString& topic, const WideString& message)>;

class IPushService {
  public:
    virtual ~IPushService() = default;
    virtual bool Connect() = 0;
    virtual void Close() = 0;
    virtual bool IsConnected() = 0;
    virtual int32_t GetState() = 0;  // 0: no conversation
    virtual bool Subscribe(const std::vector<WideString>& topics) = 0;
    virtual bool Unsubscribe(const std::vector<WideString>& topics) = 0;
    virtual void SetConnectHandler(ConnectHandler handler) = 0;
    virtual void SetMessageHandler(ServiceMessageHandler handler) = 0;
    virtual void SetCloseHandler(CloseHandler handler) = 0;
};

}  // namespace orrery
