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
    // One attempt: a connection, and the device's registration sent; it doesn't wait for the server's
    // welcome. It ends an earlier connection first. False leaves none behind. The owner's thread, as Close.
    virtual bool Connect() = 0;
    // Ends the conversation and its connection, and waits for both, seconds at most. Without one it does
    // nothing.
    virtual void Close() = 0;
    // The connection stands. Any thread; never waits, as the next.
    virtual bool IsConnected() = 0;
    // 0: no conversation; the rest are the protocol's.
    virtual int32_t GetState() = 0;
    // From here on pushes on these topics are wanted as well. True if the request was sent: nobody waits for
    // an answer. A connection that comes later has no topics until it is told anew.
    virtual bool Subscribe(const std::vector<WideString>& topics) = 0;
    // The opposite, in the same way.
    virtual bool Unsubscribe(const std::vector<WideString>& topics) = 0;
    // Each replaces the earlier one; to be set before Connect. Empty functions hear nothing.
    //
    // Inside Connect, on its thread, before the registration is sent: it must not call the service.
    virtual void SetConnectHandler(ConnectHandler handler) = 0;
    // Each push as it comes, one at a time, on a thread of the channel; either text may be empty.
    virtual void SetMessageHandler(ServiceMessageHandler handler) = 0;
    // On a thread of the channel, when a connection has ended, Close's doing or not.
    virtual void SetCloseHandler(CloseHandler handler) = 0;
};

}  // namespace orrery
