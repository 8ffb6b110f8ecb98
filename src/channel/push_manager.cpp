#include "channel/push_manager.h"

#include <algorithm>
#include <stdexcept>

#include "events/dispatcher_helper.h"
#include "foundation/settings/registration.h"
#include "foundation/trace.h"
#include "platform/error_codes.h"

namespace orrery {

void PushManagerMessageHandler::operator()(const WideString& topic, const WideString& message) const {
    if (manager) manager->Enter([&](CPushManager& push) { push.OnMessage(topic, message); });
}

CPushManager::CPushManager(IPushService* service, ConfigUtil* config, IDispatcherHelper* dispatcher)
    : service(service),
      subscriptions(std::make_shared<const Topics>()),
      dispatcher(dispatcher),
      selfCell(std::make_shared<PushManagerCell>(this)) {
    if (!config) throw std::invalid_argument("configUtil");
}

CPushManager::~CPushManager() {
    selfCell->Clear();
}

bool CPushManager::Start() {
    const Trace::Scope trace("CPushManager::Start");
    MutexLock hold(startLock);
    if (!service) return false;
    if (service->GetState() != 0) return true;
    service->SetConnectHandler(
        [cell = selfCell] { cell->Enter([](CPushManager& push) { push.OnConnect(); }); });
    service->SetMessageHandler(PushManagerMessageHandler{selfCell});
    service->SetCloseHandler([cell = selfCell] { cell->Enter([](CPushManager& push) { push.OnClose(); }); });
    if (!service->Connect()) return false;
    const auto topics = GetSubscritions();
    if (!topics->empty()) service->Subscribe(*topics);
    return true;
}

void CPushManager::Stop() {
    const Trace::Scope trace("CPushManager::Stop");
    MutexLock hold(startLock);
    if (service && service->GetState() != 0) service->Close();
}

bool CPushManager::IsConnected() {
    const Trace::Scope trace("CPushManager::IsConnected");
    return service && service->IsConnected();
}

void CPushManager::OnConnect() {
    const Trace::Scope trace("CPushManager::OnConnect");
    connectHandler.Call();
}

void CPushManager::OnClose() {
    const Trace::Scope trace("CPushManager::OnClose");
    closeHandler.Call();
}

std::shared_ptr<const CPushManager::Topics> CPushManager::PublishedTopics() {
    MutexLock hold(subscriptionsLock);
    return subscriptions;
}

std::shared_ptr<const CPushManager::Topics> CPushManager::GetSubscritions() {
    const Trace::Scope trace("CPushManager::GetSubscritions");
    if (const auto known = PublishedTopics(); !known->empty()) return known;
    auto topics = std::make_shared<Topics>();
    WideString id;
    if (GetRegisteredDeviceId(id)) topics->push_back(u"D" + id);
    if (GetRegisteredSiteId(id)) topics->push_back(u"S" + id);
    MutexLock hold(subscriptionsLock);
    subscriptions = topics;
    return topics;
}

bool CPushManager::IsSubscribed(const WideString& topic) {
    const auto topics = PublishedTopics();
    return std::find(topics->begin(), topics->end(), topic) != topics->end();
}

void CPushManager::OnMessage(const WideString& topic, const WideString& message) {
    const Trace::Scope trace("CPushManager::OnMessage");
    if (!IsSubscribed(topic)) {
        Trace::Warning("a push on a topic that isn't ours was dropped", topic);
        return;
    }
    CMessageObject push;
    push.Parse(message);
    if (push.items.empty()) return;
    CEventSequence sequence(u"RealTime");
    uint32_t result = sequence.AddActions(std::move(push));
    if (result == NoData) return;
    if (result != 0) {
        Trace::Error("the actions of a push can't be taken", result);
        return;
    }
    result = dispatcher->RaiseSequence(sequence, EventOrigin::Remote);
    if (result != 0) Trace::Error("the events of a push can't be raised", result);
}

}  // namespace orrery
