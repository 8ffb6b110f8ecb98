// The CommandHub protocol on top of a push channel: registers the device, subscribes to topics, keeps the
// conversation alive from a thread of its own, and hands each push on. It knows nothing of retries or events.
//
// Connect, Close and the destructor belong to the manager's thread; OnMessage and OnClose come on threads of
// the channel. Lock order: connectionLock, keepAliveLock, then the channel's.
#pragma once

#include <atomic>
#include <memory>
#include <thread>

#include "channel/callback_cell.h"
#include "channel/callback_slot.h"
#include "channel/command_hub_messages.h"
#include "channel/i_push_service.h"
#include "contracts/config_util.h"
#include "platform/mutex.h"

namespace orrery {

class CommandHubClient;
using CommandHubCell = CallbackCell<CommandHubClient>;

// What the channel holds of the client.
struct PushChannelConnectHandler {
    std::shared_ptr<CommandHubCell> client;
    void operator()() const;
};
struct PushChannelMessageHandler {
    std::shared_ptr<CommandHubCell> client;
    void operator()(const WideString& text) const;
};
struct PushChannelCloseHandler {
    std::shared_ptr<CommandHubCell> client;
    void operator()() const;
};

class CommandHubClient final : public IPushService {
  public:
    enum State : int32_t { Closed = 0, Registering = 1, Registered = 2, Unregistering = 3 };

    // `channel` and `config` outlive the client. Throws std::invalid_argument("Id cannot be empty").
    CommandHubClient(WideString id, IPushChannel* channel, ConfigUtil* config);
    ~CommandHubClient() override;
    CommandHubClient(const CommandHubClient&) = delete;
    CommandHubClient& operator=(const CommandHubClient&) = delete;

    bool Connect() override EXCLUDES(connectionLock);
    void Close() override EXCLUDES(connectionLock);
    bool IsConnected() override;
    int32_t GetState() override { return state; }
    bool Subscribe(const std::vector<WideString>& topics) override;
    bool Unsubscribe(const std::vector<WideString>& topics) override;
    void SetConnectHandler(ConnectHandler handler) override { connectHandler.Set(std::move(handler)); }
    void SetMessageHandler(ServiceMessageHandler handler) override { messageHandler.Set(std::move(handler)); }
    void SetCloseHandler(CloseHandler handler) override { closeHandler.Set(std::move(handler)); }

    bool Register();
    bool Unregister();
    bool KeepAlive();

    void OnConnect();
    void OnMessage(const WideString& text);
    void OnClose();

  private:
    bool ConnectLocked() REQUIRES(connectionLock);
    void CleanUpLocked() REQUIRES(connectionLock);
    void CleanUpMissedClose() EXCLUDES(connectionLock);
    // Enters `next` before the frame goes out, as the answer may come before Send has returned; back on
    // failure.
    bool SendAs(State next, CommandHubType type);
    bool SendTopics(CommandHubType type, const std::vector<WideString>& topics);

    void OnWelcome(const CommandHubFrame& frame);
    void OnPush(const CommandHubFrame& frame);

    bool StartKeepAliveThread() REQUIRES(connectionLock);
    void StopKeepAliveThread() REQUIRES(connectionLock);
    void KeepAliveThread();

    ConfigUtil* const config;
    const WideString id;
    IPushChannel* const channel;
    std::atomic<int32_t> state{Closed};
    Mutex sessionLock;  // a leaf
    WideString sessionId GUARDED_BY(sessionLock);
    CallbackSlot<void()> connectHandler;
    CallbackSlot<void(const WideString&, const WideString&)> messageHandler;
    CallbackSlot<void()> closeHandler;
    int64_t keepAliveInterval = 120;  // seconds, above 0
    std::unique_ptr<std::thread> keepAliveThread GUARDED_BY(connectionLock);
    bool stopKeepAlive GUARDED_BY(keepAliveLock) = false;
    Mutex keepAliveLock;
    ConditionVariable keepAliveCondition;
    Mutex connectionLock;
    // A close event that came while `connectionLock` was busy: whoever held it cleans up.
    std::atomic<bool> missedClose{false};
    const std::shared_ptr<CommandHubCell> selfCell;
};

}  // namespace orrery
