// Between the manager and the push service: decides which topics the device subscribes to, and turns each
// push on one of them into a sequence of local events. One Start is one attempt; it holds no retry logic.
//
// Start, Stop and the destructor belong to the manager's thread; OnMessage and OnClose come on threads of the
// channel.
#pragma once

#include <memory>
#include <vector>

#include "channel/callback_cell.h"
#include "channel/callback_slot.h"
#include "channel/i_push_manager.h"
#include "channel/i_push_service.h"
#include "contracts/config_util.h"
#include "platform/mutex.h"

namespace orrery {

class IDispatcherHelper;
class CPushManager;
using PushManagerCell = CallbackCell<CPushManager>;

// What the service holds of the push manager.
struct PushManagerMessageHandler {
    std::shared_ptr<PushManagerCell> manager;
    void operator()(const WideString& topic, const WideString& message) const;
};

class CPushManager final : public IPushManager {
  public:
    // `service` and `dispatcher` outlive it. Throws std::invalid_argument("configUtil") for a null `config`:
    // the topics are read from the settings store.
    CPushManager(IPushService* service, ConfigUtil* config, IDispatcherHelper* dispatcher);
    ~CPushManager() override;
    CPushManager(const CPushManager&) = delete;
    CPushManager& operator=(const CPushManager&) = delete;

    bool Start() override EXCLUDES(startLock);
    void Stop() override EXCLUDES(startLock);
    bool IsConnected() override;
    void SetConnectHandler(ConnectHandler handler) override { connectHandler.Set(std::move(handler)); }
    void SetCloseHandler(CloseHandler handler) override { closeHandler.Set(std::move(handler)); }
    void OnConnect() override;
    void OnMessage(const WideString& topic, const WideString& message) override;
    void OnClose() override;

  private:
    using Topics = std::vector<WideString>;

    // Reads the topics once; an empty list is read anew at the next start.
    std::shared_ptr<const Topics> GetSubscritions() EXCLUDES(subscriptionsLock);
    std::shared_ptr<const Topics> PublishedTopics() EXCLUDES(subscriptionsLock);
    bool IsSubscribed(const WideString& topic);

    IPushService* const service;
    Mutex subscriptionsLock;  // a leaf
    // Published whole, so that a push that comes while the list is made sees all of it or nothing.
    std::shared_ptr<const Topics> subscriptions GUARDED_BY(subscriptionsLock);
    CallbackSlot<void()> connectHandler;
    CallbackSlot<void()> closeHandler;
    Mutex startLock;
    IDispatcherHelper* const dispatcher;
    const std::shared_ptr<PushManagerCell> selfCell;
};

}  // namespace orrery
