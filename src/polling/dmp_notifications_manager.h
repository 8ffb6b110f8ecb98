// The provider that is polled: asks the server whether a notification waits for this device, and has the
// server make the notification's resource where it has none. It has no thread and retries nothing; when to
// poll is decided by its caller, who also keeps overlapping polls out.
#pragma once

#include <memory>

#include "contracts/config_util.h"
#include "polling/notification_handler.h"

namespace orrery {

class INotificationsManager {
  public:
    virtual ~INotificationsManager() = default;
    // True means that a notification has come, with its body in `text`, which is untouched otherwise. Every
    // failure is traced and gives false. Blocks for up to two requests; one call at a time.
    virtual bool Check(WideString& text) = 0;
};

class CDmpNotificationsManager final : public INotificationsManager {
  public:
    // A null `config` is replaced by the process's store. Throws std::invalid_argument("configUtil") without
    // one, and as CNotificationHandler.
    explicit CDmpNotificationsManager(ConfigUtil* config);

    bool Check(WideString& text) override;

  private:
    void CreateRemoteNotification();

    ConfigUtil* const config;
    const std::unique_ptr<CNotificationHandler> checkHandler;
    const std::unique_ptr<CNotificationHandler> createHandler;
};

}  // namespace orrery
