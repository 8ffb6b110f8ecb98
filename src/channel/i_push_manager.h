// The highest level of the push chain: what the manager starts, stops and asks.
#pragma once

#include "channel/i_push_channel.h"
#include "contracts/wide_string.h"

namespace orrery {

class IPushManager {
  public:
    virtual ~IPushManager() = default;
    // One attempt to be connected and subscribed, which waits for the network; true at once while a
    // conversation stands. When to try again is the caller's business. The manager's thread, as Stop.
    virtual bool Start() = 0;
    // Ends the conversation, if there is one, and waits for that. Start may follow.
    virtual void Stop() = 0;
    // The connection stands. Any thread; never waits.
    virtual bool IsConnected() = 0;
    // Replaces the earlier one, as the next does; to be set before Start. Called inside Start, on its thread
    // and under the locks of the chain: it must not call the manager.
    virtual void SetConnectHandler(ConnectHandler handler) = 0;
    // Called on a thread of the channel, when a connection has ended.
    virtual void SetCloseHandler(CloseHandler handler) = 0;
    // What the service calls, as it does the next two: the connection stands, and the connect handler is
    // told.
    virtual void OnConnect() = 0;
    // A push: its events are raised before the return, and one on a topic that wasn't subscribed to is
    // dropped.
    virtual void OnMessage(const WideString& topic, const WideString& message) = 0;
    // The connection has ended, and the close handler is told. Nothing is tried again here.
    virtual void OnClose() = 0;
};

}  // namespace orrery
