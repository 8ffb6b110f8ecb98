// The network and the push server, played by a test: what the real chain says through its channels is written
// down, and attempts end as the test says. It also stands in for the interface watcher.
#pragma once

#include <atomic>
#include <memory>

#include "manager/push_chain_factory.h"
#include "platform/text.h"
#include "support/call_log.h"

namespace orrery::test {

class FakeServer final : public IPushChainFactory, public CallLog {
  public:
    std::atomic<bool> accepts{true};   // connections
    std::atomic<bool> takes{true};     // frames
    std::atomic<bool> blocked{false};  // attempts don't return
    std::atomic<bool> watches{true};
    std::atomic<int> attempts{0};
    std::atomic<int> polls{0};  // of the channel's state
    std::function<void()> onSend;
    // What the channel and the watcher were told to call.
    ConnectHandler connectHandler;
    ChannelMessageHandler messageHandler;
    CloseHandler closeHandler;
    ConnectionChangeCallback onChange;

    void Lose() {
        state = ChannelClosed;
        if (closeHandler) closeHandler();
    }

    std::unique_ptr<IPushChannel> MakeChannel(const WideString& uri, IProxyList* proxies) override {
        Note(ToUtf8(uri) + (proxies ? " by proxies" : ""));
        return std::make_unique<Channel>(*this);
    }
    std::unique_ptr<IPushService> MakeService(const WideString& id, IPushChannel* channel,
                                              ConfigUtil* config) override {
        return RealPushChain().MakeService(id, channel, config);
    }
    std::unique_ptr<IPushManager> MakeManager(IPushService* service, ConfigUtil* config,
                                              IDispatcherHelper* dispatcher) override {
        return RealPushChain().MakeManager(service, config, dispatcher);
    }
    std::unique_ptr<IConnectionWatcher> MakeWatcher() override { return std::make_unique<Watcher>(*this); }

  private:
    struct Channel final : IPushChannel {
        explicit Channel(FakeServer& server) : server(server) {}
        bool Connect() override {
            ++server.attempts;
            Eventually([this] { return !server.blocked; });
            server.Note("connect");
            if (!server.accepts) return false;
            server.state = ChannelConnected;
            if (server.connectHandler) server.connectHandler();
            return true;
        }
        void Close() override {
            server.Note("close");
            server.state = ChannelClosed;
        }
        int32_t GetState() override {
            ++server.polls;
            return server.state;
        }
        bool Send(const WideString& text) override {
            server.Note(ToUtf8(text));
            const bool taken = server.takes && server.state == ChannelConnected;
            if (server.onSend) server.onSend();
            return taken;
        }
        void SetConnectHandler(ConnectHandler handler) override {
            server.connectHandler = std::move(handler);
        }
        void SetMessageHandler(ChannelMessageHandler handler) override {
            server.messageHandler = std::move(handler);
        }
        void SetCloseHandler(CloseHandler handler) override { server.closeHandler = std::move(handler); }
        FakeServer& server;
    };

    struct Watcher final : IConnectionWatcher {
        explicit Watcher(FakeServer& server) : server(server) {}
        bool Start(ConnectionChangeCallback callback) override {
            if (server.watches) server.onChange = std::move(callback);
            return server.watches;
        }
        void Stop() override { server.onChange = nullptr; }
        FakeServer& server;
    };

    std::atomic<int32_t> state{ChannelClosed};
};

}  // namespace orrery::test
