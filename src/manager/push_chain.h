// One push chain: proxy settings, channel, service and push manager. The constructor makes them as far as
// they can be had, the destructor takes them down from the top. It decides no attempt and raises no event.
//
// Threads: one at a time; the realtime manager holds its pushLock over every use.
#pragma once

#include <memory>

#include "manager/push_chain_factory.h"
#include "messaging/proxy_config.h"

namespace orrery {

// What a chain is made with; all of it outlives the chain.
struct PushChainNeeds {
    IPushChainFactory& factory;
    ConfigUtil* config;
    IWirelink* wirelink;
    IDispatcherHelper* dispatcher;
};

class PushChain {
  public:
    // `onConnect` is called inside Start of the push manager. A member that can't be made is traced, and
    // those above it are then missing.
    PushChain(const PushChainNeeds& needs, const WideString& deviceId, const WideString& uri,
              ConnectHandler onConnect);
    ~PushChain();
    PushChain(const PushChain&) = delete;
    PushChain& operator=(const PushChain&) = delete;

    bool HasChannel() const { return channel != nullptr; }
    bool IsWhole() const { return pushManager != nullptr; }
    bool IsConnected() const { return IsWhole() && pushManager->IsConnected(); }
    // One attempt of a whole chain; whatever breaks it off is a failure.
    bool Start();

  private:
    void Make(const PushChainNeeds& needs, const WideString& deviceId, const WideString& uri);

    std::unique_ptr<CProxyConfig> proxyConfig;
    std::unique_ptr<IPushChannel> channel;
    std::unique_ptr<IPushService> service;
    std::unique_ptr<IPushManager> pushManager;
};

}  // namespace orrery
