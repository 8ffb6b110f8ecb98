// The text pipe on which the CommandHub protocol runs: a blocking view of one WebSocket. It tries one way
// after the other until one works, and knows nothing of the protocol or of retries.
//
// Connect, Close and the destructor belong to the manager's thread; Send also comes from the keep-alive
// thread; OnMessage and OnClose come on the library's threads. `clientLock` is held while the network is
// waited for: the library gives up after 5 seconds for each step of a connection, and for a close.
#pragma once

#include <atomic>
#include <memory>

#include "channel/callback_cell.h"
#include "channel/callback_slot.h"
#include "channel/i_push_channel.h"
#include "contracts/config_util.h"
#include "contracts/wirelink.h"
#include "platform/mutex.h"

namespace orrery {

struct ProxyCandidate;

class WebSocketsClient final : public IPushChannel {
  public:
    // `proxyList` may be null and outlives the client. Throws std::invalid_argument: "configUtil" without a
    // settings store, "Uri cannot be empty".
    WebSocketsClient(WideString uri, IProxyList* proxyList);
    // Waits for a callback that is inside, unless it runs on that callback's thread. Doesn't close.
    ~WebSocketsClient() override;
    WebSocketsClient(const WebSocketsClient&) = delete;
    WebSocketsClient& operator=(const WebSocketsClient&) = delete;

    // One pass over the candidates. The connect handler runs inside it, under `clientLock`: it must not call
    // back here.
    bool Connect() override EXCLUDES(clientLock);
    void Close() override EXCLUDES(clientLock);
    int32_t GetState() override { return state; }
    bool Send(const WideString& text) override EXCLUDES(clientLock);
    void SetConnectHandler(ConnectHandler handler) override { connectHandler.Set(std::move(handler)); }
    void SetMessageHandler(ChannelMessageHandler handler) override { messageHandler.Set(std::move(handler)); }
    void SetCloseHandler(CloseHandler handler) override { closeHandler.Set(std::move(handler)); }

    void OnConnect();
    void OnMessage(const WideString& text);
    void OnClose(int32_t status, const std::string& reason, int32_t errorCode);

  private:
    class Attempt;
    class LibraryClient;
    using Cell = CallbackCell<WebSocketsClient>;
    friend struct WebSocketsMessageHandler;
    friend struct WebSocketsCloseHandler;

    void GetConfig();
    bool SetupConnection() EXCLUDES(clientLock);
    bool TryConnection(const ProxyCandidate& candidate) REQUIRES(clientLock);
    void CleanupConnection() EXCLUDES(clientLock);
    // One message file; its name tells sent from received.
    void LogTraffic(const WideString& text, const WideString& name) const;

    const WideString uri;
    IProxyList* const proxyList;
    std::atomic<int32_t> state{ChannelClosed};
    CallbackSlot<void(const WideString&)> messageHandler;
    CallbackSlot<void()> connectHandler;
    CallbackSlot<void()> closeHandler;
    std::unique_ptr<LibraryClient> client GUARDED_BY(clientLock);
    Mutex clientLock;
    const std::shared_ptr<Cell> selfCell;
    ConfigUtil* configUtil;
    bool validateCertificates = false;
};

}  // namespace orrery
