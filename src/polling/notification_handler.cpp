#include "polling/notification_handler.h"

#include <algorithm>
#include <array>
#include <vector>

#include "foundation/trace.h"
#include "platform/text.h"

namespace orrery {

namespace {

constexpr char16_t section[] = u"Register";
constexpr uint32_t storedTagCapacity = 512;  // characters
constexpr uint32_t dataCapacity = 65'536;    // bytes

}  // namespace

Mutex CNotificationHandler::notificationLock;

// What the data service gets a tag in, and gives one back. A tag that doesn't fit is cut.
struct CNotificationHandler::TagBuffer {
    TagBuffer() = default;
    explicit TagBuffer(const WideString& tag) {
        std::copy_n(tag.data(), std::min<size_t>(tag.size(), text.size() - 1), text.data());
    }
    WideString Tag() const { return {text.begin(), std::find(text.begin(), text.end(), u'\0')}; }

    std::array<char16_t, entityTagCapacity> text{};
};

CNotificationHandler::CNotificationHandler(ConfigUtil* config) : config(config), messageDispatcher(config) {
    const uint32_t result = config->Subscribe(section, this);
    if (result != 0) Trace::Error("the registration can't be watched", result);
}

CNotificationHandler::~CNotificationHandler() {
    config->Unsubscribe(section, this);
    Unregister();
}

bool CNotificationHandler::Register(const char16_t* name) {
    const Trace::Scope trace("CNotificationHandler::Register");
    MutexLock hold(notificationLock);
    messageDispatcher.CloseDataService(&dataService);
    serviceName = name;
    return true;
}

bool CNotificationHandler::Unregister() {
    const Trace::Scope trace("CNotificationHandler::Unregister");
    MutexLock hold(notificationLock);
    messageDispatcher.CloseDataService(&dataService);
    serviceName.clear();
    return true;
}

bool CNotificationHandler::IsRegistered() {
    MutexLock hold(notificationLock);
    return !serviceName.empty();
}

void CNotificationHandler::OnConfigChange(const char16_t* changedSection, const char16_t* group,
                                          const char16_t* name, const char16_t*, const char16_t*) {
    const Trace::Scope trace("CNotificationHandler::OnConfigChange");
    if (WideView(changedSection) == section && WideView(group) == u"Register" &&
        WideView(name) == u"DeviceId")
        Unregister();
}

// A data service belongs to one service and one id.
bool CNotificationHandler::OpenLocked(const WideString& id) {
    if (id != notificationId) {
        messageDispatcher.CloseDataService(&dataService);
        notificationId = id;
    }
    if (!dataService) dataService = messageDispatcher.OpenDataService(serviceName, notificationId);
    return dataService != nullptr;
}

bool CNotificationHandler::GetNotification(const WideString& id) {
    const Trace::Scope trace("CNotificationHandler::GetNotification");
    MutexLock hold(notificationLock);
    if (!OpenLocked(id)) return true;
    ReadETagLocked();
    TagBuffer tag(etag);
    std::vector<char> data(dataCapacity);
    uint32_t size = dataCapacity;
    const bool given =
        dataService->GetDataById(notificationId.c_str(), tag.text.data(), data.data(), size, status);
    content.clear();
    if (!given) return false;
    if (size > 0) Utf8ToWide({data.data(), std::min(size, dataCapacity)}, content);
    KeepETagLocked(tag);
    return true;
}

bool CNotificationHandler::CreateNotification(const WideString& id, const std::string& body) {
    const Trace::Scope trace("CNotificationHandler::CreateNotification");
    MutexLock hold(notificationLock);
    if (!OpenLocked(id)) return true;
    TagBuffer tag;
    if (!dataService->SetDataById(notificationId.c_str(), tag.text.data(), body.c_str(), status))
        return false;
    KeepETagLocked(tag);
    return true;
}

bool CNotificationHandler::SetETag(const char16_t* text) {
    const Trace::Scope trace("CNotificationHandler::SetETag");
    MutexLock hold(notificationLock);
    etag = text;
    return SaveETagLocked();
}

void CNotificationHandler::ReadETagLocked() {
    std::array<char16_t, storedTagCapacity> buffer{};
    uint32_t size = storedTagCapacity;
    const uint32_t result =
        config->ReadValueParts(u"Services", serviceName.c_str(), u"ETag", buffer.data(), &size, 0);
    etag = result == 0 ? buffer.data() : u"";
}

bool CNotificationHandler::SaveETagLocked() {
    const uint32_t result =
        config->WriteValueParts(u"Services", serviceName.c_str(), u"ETag", etag.c_str(), 0);
    if (result != 0) Trace::Error("an entity tag can't be stored", serviceName, result);
    return result == 0;
}

void CNotificationHandler::KeepETagLocked(const TagBuffer& buffer) {
    WideString tag = buffer.Tag();
    if (tag == etag) return;
    etag = std::move(tag);
    SaveETagLocked();
}

}  // namespace orrery
