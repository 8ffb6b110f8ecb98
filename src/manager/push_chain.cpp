#include "manager/push_chain.h"

#include <exception>
#include <utility>

#include "foundation/trace.h"

namespace orrery {

PushChain::PushChain(const PushChainNeeds& needs, const WideString& deviceId, const WideString& uri,
                     ConnectHandler onConnect) {
    try {
        Make(needs, deviceId, uri);
    } catch (const std::exception& failure) {
        Trace::Error("the push chain can't be made", failure.what());
    }
    if (!pushManager) return;
    pushManager->SetConnectHandler(std::move(onConnect));
    pushManager->SetCloseHandler([] {});  // a loss is found by the next check
}

void PushChain::Make(const PushChainNeeds& needs, const WideString& deviceId, const WideString& uri) {
    proxyConfig = std::make_unique<CProxyConfig>(needs.config, needs.wirelink);
    IProxyList* const proxies = proxyConfig->IsValid() ? proxyConfig->GetProxyList() : nullptr;
    channel = needs.factory.MakeChannel(uri, proxies);
    if (channel) service = needs.factory.MakeService(deviceId, channel.get(), needs.config);
    if (service) pushManager = needs.factory.MakeManager(service.get(), needs.config, needs.dispatcher);
}

PushChain::~PushChain() {
    if (IsConnected()) pushManager->Stop();
    pushManager.reset();
    service.reset();
    if (channel) channel->Close();
}

bool PushChain::Start() {
    const Trace::Scope trace("PushChain::Start");
    try {
        return pushManager->Start();
    } catch (const std::exception& failure) {
        Trace::Error("an attempt broke off", failure.what());
        return false;
    }
}

}  // namespace orrery
