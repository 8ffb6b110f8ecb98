// The text pipe on which the CommandHub protocol runs: a blocking view of one WebSocket. It tries one way
// after the other until one works, converts and records texts, and knows nothing of the protocol or of
// retries. The life of each connection is WebSocketConnection's.
//
// Connect, Close and the destructor belong to the manager's thread; Send also comes from the keep-alive
// thread; OnMessage and OnClose come on threads of the library and of the reaper, and their handlers may send
// and close. `clientLock` is held over a pass and over a send, never while a handler is waited for.
#pragma once

#include <memory>
#include <string>

#include "channel/callback_cell.h"
#include "channel/callback_slot.h"
#include "channel/i_push_channel.h"
#include "contracts/config_util.h"
#include "contracts/wirelink.h"
#include "platform/mutex.h"

namespace orrery {

struct ProxyCandidate;
class WebSocketConnection;

class WebSocketsClient final : public IPushChannel {
  public:
    // `proxyList` may be null and outlives the client. Throws std::invalid_argument: "configUtil" without a
    // settings store, "Uri cannot be empty".
    WebSocketsClient(WideString uri, IProxyList* proxyList);
    // Waits for a callback that is inside, unless it runs on that callback's thread; not for the network.
    // Close is its caller's to call: what still stands then goes without a word to the close handler.
    ~WebSocketsClient() override;
    WebSocketsClient(const WebSocketsClient&) = delete;
    WebSocketsClient& operator=(const WebSocketsClient&) = delete;

    // One pass over the candidates; a connection that still stands is dropped first, and its close told. The
    // connect handler runs inside the pass, under `clientLock`: it must not call back here.
    bool Connect() override EXCLUDES(clientLock);
    void Close() override EXCLUDES(clientLock);
    int32_t GetState() override EXCLUDES(currentLock);
    bool Send(const WideString& text) override EXCLUDES(clientLock);
    void SetConnectHandler(ConnectHandler handler) override { connectHandler.Set(std::move(handler)); }
    void SetMessageHandler(ChannelMessageHandler handler) override { messageHandler.Set(std::move(handler)); }
    void SetCloseHandler(CloseHandler handler) override { closeHandler.Set(std::move(handler)); }

    void OnConnect();
    void OnMessage(const WideString& text);
    void OnClose(int32_t status, const std::string& reason, int32_t errorCode);

  private:
    using Cell = CallbackCell<WebSocketsClient>;
    friend struct WebSocketsMessageHandler;
    friend struct WebSocketsCloseHandler;

    void GetConfig();
    bool SetupConnection() EXCLUDES(clientLock);
    bool TryConnection(const ProxyCandidate& candidate) REQUIRES(clientLock);
    void CleanupConnection() EXCLUDES(clientLock);
    std::shared_ptr<WebSocketConnection> Current() EXCLUDES(currentLock);
    // Gives back the one before.
    std::shared_ptr<WebSocketConnection> Exchange(std::shared_ptr<WebSocketConnection> next)
        EXCLUDES(currentLock);
    // One message file; its name tells sent from received.
    void LogTraffic(const WideString& text, const WideString& name);

    const WideString uri;
    IProxyList* const proxyList;
    CallbackSlot<void(const WideString&)> messageHandler;
    CallbackSlot<void()> connectHandler;
    CallbackSlot<void()> closeHandler;
    Mutex clientLock;   // one pass or send at a time
    Mutex currentLock;  // a leaf: the state can be asked for during a pass
    std::shared_ptr<WebSocketConnection> client GUARDED_BY(currentLock);
    const std::shared_ptr<Cell> selfCell;
    ConfigUtil* configUtil;
    bool validateCertificates = false;
};

}  // namespace orrery
