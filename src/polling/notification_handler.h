// A client of one notification service: remembers service and notification id, keeps the data service open,
// and carries the entity tag from request to request, in the settings store too, so that the server can say
// that nothing has changed. When to ask is not decided here.
//
// `notificationLock`, one for all handlers of the process, is held over a whole request, so that requests run
// one after the other; a change of the device id waits for it on the store's notifying thread. The getters of
// an answer take no lock: they belong to the thread that made the request.
#pragma once

#include <cstdint>
#include <string>

#include "contracts/config_util.h"
#include "contracts/wirelink.h"
#include "messaging/message_dispatcher.h"
#include "platform/mutex.h"

namespace orrery {

// Failures are told by the result, the status and the trace. Used by one thread at a time.
class INotificationHandler {
  public:
    virtual ~INotificationHandler() = default;
    // For the service of that name, copied, in place of an earlier one. Sends nothing. Always true.
    virtual bool Register(const char16_t* name) = 0;
    // Closes the data service; id and tag stay. Waits for a request under way. Always true.
    virtual bool Unregister() = 0;
    virtual bool IsRegistered() = 0;
    // One request each, for whose time they block. False if the server didn't give what was asked for; true
    // also where the data service can't be opened: then no request was made, and status and content are
    // those of the request before.
    virtual bool GetNotification(const WideString& id) = 0;
    // `body` is UTF-8.
    virtual bool CreateNotification(const WideString& id, const std::string& body) = 0;
    // Goes out with the next request; empty for none. True if it was stored.
    virtual bool SetETag(const char16_t* text) = 0;
    // Of the last answer, and good until the next request. The status is 0 before the first.
    virtual const char16_t* GetETag() = 0;
    virtual uint32_t GetStatus() = 0;
    virtual const char16_t* GetContent() = 0;
};

class CNotificationHandler final : public INotificationHandler, public IConfigChangeObserver {
  public:
    // Throws as CMessageDispatcher.
    explicit CNotificationHandler(ConfigUtil* config);
    ~CNotificationHandler() override;
    CNotificationHandler(const CNotificationHandler&) = delete;
    CNotificationHandler& operator=(const CNotificationHandler&) = delete;

    bool Register(const char16_t* name) override EXCLUDES(notificationLock);
    bool Unregister() override EXCLUDES(notificationLock);
    bool IsRegistered() override EXCLUDES(notificationLock);
    bool GetNotification(const WideString& id) override EXCLUDES(notificationLock);
    bool CreateNotification(const WideString& id, const std::string& body) override
        EXCLUDES(notificationLock);
    bool SetETag(const char16_t* text) override EXCLUDES(notificationLock);
    const char16_t* GetETag() override { return etag.c_str(); }
    uint32_t GetStatus() override { return status; }
    const char16_t* GetContent() override { return content.c_str(); }

    // A new device id ends the registration.
    void OnConfigChange(const char16_t* section, const char16_t* group, const char16_t* name,
                        const char16_t* value1, const char16_t* value2) override;

  private:
    struct TagBuffer;

    static Mutex notificationLock;

    bool OpenLocked(const WideString& id) REQUIRES(notificationLock);
    void ReadETagLocked() REQUIRES(notificationLock);
    bool SaveETagLocked() REQUIRES(notificationLock);
    void KeepETagLocked(const TagBuffer& buffer) REQUIRES(notificationLock);

    ConfigUtil* const config;
    IServiceClient* dataService GUARDED_BY(notificationLock) = nullptr;
    WideString serviceName GUARDED_BY(notificationLock);  // empty: not registered
    WideString notificationId GUARDED_BY(notificationLock);
    WideString etag;
    WideString content;
    uint32_t status = 0;
    CMessageDispatcher messageDispatcher;
};

}  // namespace orrery
