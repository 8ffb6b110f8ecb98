#include "foundation/settings/registration.h"

#include "foundation/settings/config_helper.h"
#include "foundation/text/numbers.h"
#include "foundation/trace.h"
#include "platform/error_codes.h"

namespace orrery {

namespace {

uint32_t ReadFromStore(const WideString& key, WideString& out) {
    ConfigUtil* util = GetConfigUtil();
    if (!util) return DllNotFound;
    const WideString* value = nullptr;
    const uint32_t result = util->GetValue(key, &value, 0);
    if (result != 0) return result;
    out = *value;
    util->ReleaseValue(&value);
    return Success;
}

bool ReadRegistered(const WideString& key, WideString& out) {
    WideString value;
    const uint32_t result = ReadFromStore(key, value);
    if (result != 0 || value.empty()) {
        Trace::Error("a registration value is missing", key, result);
        return false;
    }
    out = std::move(value);
    return true;
}

}  // namespace

bool GetRegisteredDeviceId(WideString& out) {
    return ReadRegistered(u"Register.Register.DeviceId", out);
}

bool GetRegisteredSiteId(WideString& out) {
    return ReadRegistered(u"Register.Register.SiteId", out);
}

bool GetRegisteredNotificationId(WideString& out) {
    return ReadRegistered(u"Register.Notification.NotificationId", out);
}

// Asked for every message.
bool ReadTestMode(int32_t& out) {
    static const WideString key = u"Register.Agent.TestMode";
    WideString value;
    if (ReadFromStore(key, value) != 0) return false;
    out = LeadingInt32(value);
    return true;
}

bool IsTestMode() {
    int32_t mode = 0;
    return ReadTestMode(mode) && (mode & 1) != 0;
}

}  // namespace orrery
