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
    // One attempt, which drops an earlier connection first and waits for the network. True if a connection
    // stands; the connect handler has run by then. No failure is thrown, and none is tried again. The owner's
    // thread.
    virtual bool Connect() = 0;
    // Ends the connection in good order and waits for it, seconds at most; nothing is received behind it.
    // Without a connection it does nothing. Connect may follow. The owner's thread, or within the message or
    // close handler.
    virtual void Close() = 0;
    // A ChannelState: what is believed. A peer that vanished may go unnoticed for long. Any thread; never
    // waits.
    virtual int32_t GetState() = 0;
    // True if the frame was taken for sending, which says nothing of its arrival; false without a connection.
    // It waits for a running Connect. Any thread, the message and close handlers' too, but not the connect
    // handler.
    virtual bool Send(const WideString& text) = 0;
    // Each replaces the earlier one; to be set before Connect. Empty functions hear nothing.
    //
    // Called inside Connect, on its thread, with the channel's lock held: it must not call the channel.
    virtual void SetConnectHandler(ConnectHandler handler) = 0;
    // One text after the other, on a thread of the channel, which waits for the return.
    virtual void SetMessageHandler(ChannelMessageHandler handler) = 0;
    // On a thread of the channel, with the state closed, when a connection has ended: by the peer, by the
    // network or by Close. A failed attempt doesn't call it.
    virtual void SetCloseHandler(CloseHandler handler) = 0;
};

}  // namespace orrery
