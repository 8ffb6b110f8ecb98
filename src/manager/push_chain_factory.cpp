#include "manager/push_chain_factory.h"

#include "channel/command_hub_client.h"
#include "channel/push_manager.h"
#include "channel/socket/web_sockets_client.h"

namespace orrery {

namespace {

class CPushChainFactory final : public IPushChainFactory {
  public:
    std::unique_ptr<IPushChannel> MakeChannel(const WideString& uri, IProxyList* proxyList) override {
        return std::make_unique<WebSocketsClient>(uri, proxyList);
    }

    std::unique_ptr<IPushService> MakeService(const WideString& deviceId, IPushChannel* channel,
                                              ConfigUtil* config) override {
        return std::make_unique<CommandHubClient>(deviceId, channel, config);
    }

    std::unique_ptr<IPushManager> MakeManager(IPushService* service, ConfigUtil* config,
                                              IDispatcherHelper* dispatcher) override {
        return std::make_unique<CPushManager>(service, config, dispatcher);
    }

    std::unique_ptr<IConnectionWatcher> MakeWatcher() override { return MakeConnectionWatcher(); }
};

}  // namespace

IPushChainFactory& RealPushChain() {
    static CPushChainFactory factory;
    return factory;
}

}  // namespace orrery
