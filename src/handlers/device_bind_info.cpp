#include "handlers/device_bind_info.h"

#include "foundation/settings/config_helper.h"
#include "foundation/trace.h"

namespace orrery {

namespace {

constexpr char16_t lastInfoKey[] = u"Realtime.DeviceBind.LastInfoSent";

}  // namespace

CDeviceBindInfo::CDeviceBindInfo(uint32_t provider, ConfigUtil* util, WideString recipientId)
    : configUtil(ConfigUtilOrThrow(util, "configUtil")),
      provider(provider),
      recipientId(std::move(recipientId)) {
    ReadLastInfoSent();
}

void CDeviceBindInfo::ReadLastInfoSent() {
    CMessageObject last;
    if (configUtil->ReadValue(lastInfoKey, lastInfoSent, 0) != 0 || lastInfoSent.empty()) return;
    if (!last.Parse(lastInfoSent)) {
        Trace::Error("the last bind can't be read", lastInfoSent);
        return;
    }
    int32_t number = 0;
    if (last.GetInt(u"NotificationProvider", number)) lastProvider = static_cast<uint32_t>(number);
    last.GetString(u"RecipientId", lastRecipientId);
}

const CMessageObject* CDeviceBindInfo::BuildMessage() {
    const Trace::Scope trace("CDeviceBindInfo::BuildMessage");
    if (provider == ProviderNone && recipientId.empty()) return nullptr;
    message.Clear();
    if (provider != ProviderNone)
        message.AddEnum(u"NotificationProvider", static_cast<NotificationProvider>(provider));
    if (!recipientId.empty()) message.AddString(u"RecipientId", recipientId);
    return &message;
}

bool CDeviceBindInfo::HasChanged() {
    const Trace::Scope trace("CDeviceBindInfo::HasChanged");
    WideString text;
    return lastInfoSent.empty() || !BuildMessage() || !message.Serialize(text) || text != lastInfoSent;
}

bool CDeviceBindInfo::SaveLastInfoSent() {
    const Trace::Scope trace("CDeviceBindInfo::SaveLastInfoSent");
    WideString text;
    return BuildMessage() && message.Serialize(text) && configUtil->WriteValue(lastInfoKey, text, 0) == 0;
}

}  // namespace orrery
