#include "polling/dmp_notifications_manager.h"

#include "foundation/settings/config_helper.h"
#include "foundation/settings/registration.h"
#include "foundation/trace.h"

namespace orrery {

namespace {

constexpr char16_t checkService[] = u"Service_NotificationCheck";
constexpr char16_t createService[] = u"Service_NotificationCreate";

// What a request needs: a registered handler and the notification's id.
bool Prepare(CNotificationHandler& handler, const char16_t* service, WideString& id) {
    if (!handler.IsRegistered()) handler.Register(service);
    if (!handler.IsRegistered()) {
        Trace::Error("the service can't be registered", service);
        return false;
    }
    if (GetRegisteredNotificationId(id)) return true;
    Trace::Warning("the device has no notification id");
    return false;
}

}  // namespace

CDmpNotificationsManager::CDmpNotificationsManager(ConfigUtil* util)
    : config(ConfigUtilOrThrow(util, "configUtil")),
      checkHandler(std::make_unique<CNotificationHandler>(config)),
      createHandler(std::make_unique<CNotificationHandler>(config)) {}

bool CDmpNotificationsManager::Check(WideString& text) {
    const Trace::Scope trace("CDmpNotificationsManager::Check");
    WideString id;
    if (!Prepare(*checkHandler, checkService, id)) return false;
    const bool given = checkHandler->GetNotification(id);
    const uint32_t status = checkHandler->GetStatus();
    if (given && status == 200) {
        text = checkHandler->GetContent();
        return true;
    }
    if (given && status == 304) return false;
    if (!given && status == 400) {
        checkHandler->SetETag(u"");
    } else if (!given && status == 404) {
        CreateRemoteNotification();
    } else {
        Trace::Error("a notification can't be asked for", status);
    }
    return false;
}

// The next poll carries the tag of what was made here.
void CDmpNotificationsManager::CreateRemoteNotification() {
    const Trace::Scope trace("CDmpNotificationsManager::CreateRemoteNotification");
    WideString id;
    if (!Prepare(*createHandler, createService, id)) return;
    const bool made = createHandler->CreateNotification(id, {});
    const uint32_t status = createHandler->GetStatus();
    if (made && status / 100 == 2) {
        checkHandler->SetETag(createHandler->GetETag());
    } else {
        Trace::Error("a notification can't be made", status);
    }
}

}  // namespace orrery
