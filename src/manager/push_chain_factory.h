// Makes the members of the push chain. One object stands for the real ones; a test puts its own in its place.
#pragma once

#include <memory>

#include "channel/i_push_channel.h"
#include "channel/i_push_manager.h"
#include "channel/i_push_service.h"
#include "contracts/config_util.h"
#include "contracts/wirelink.h"
#include "manager/ip_interface_watcher.h"

namespace orrery {

class IDispatcherHelper;

class IPushChainFactory {
  public:
    virtual ~IPushChainFactory() = default;
    // Each may throw what the member's constructor does; null means that it can't be had.
    virtual std::unique_ptr<IPushChannel> MakeChannel(const WideString& uri, IProxyList* proxyList) = 0;
    virtual std::unique_ptr<IPushService> MakeService(const WideString& deviceId, IPushChannel* channel,
                                                      ConfigUtil* config) = 0;
    virtual std::unique_ptr<IPushManager> MakeManager(IPushService* service, ConfigUtil* config,
                                                      IDispatcherHelper* dispatcher) = 0;
    virtual std::unique_ptr<IConnectionWatcher> MakeWatcher() = 0;
};

// WebSocketsClient, CommandHubClient, CPushManager and CIpInterfaceWatcher.
IPushChainFactory& RealPushChain();

}  // namespace orrery
