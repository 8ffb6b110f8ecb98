#include "handlers/device_bind_handler.h"

#include "context/realtime_context.h"
#include "events/dispatcher_helper.h"
#include "foundation/settings/registration.h"
#include "foundation/trace.h"
#include "handlers/device_bind_info.h"
#include "messaging/request_body.h"
#include "messaging/web_api_request.h"
#include "messaging/web_api_response.h"
#include "messaging/wirelink_request_dispatcher.h"
#include "platform/error_codes.h"

namespace orrery {

Mutex CDeviceBindHandler::bindMutex;

uint32_t CDeviceBindHandler::RunOn(CRealtimeContext& context, CEventSequence&, uint32_t& runFlags) {
    MutexLock hold(bindMutex);
    const bool force = IsForced();
    WideString deviceId;
    WideString notificationId;
    if (!GetRegisteredDeviceId(deviceId) || !GetRegisteredNotificationId(notificationId)) return Success;
    const uint32_t provider = ChooseProvider(context);
    if (provider == ProviderNone) return Success;
    CDeviceBindInfo info(provider, nullptr, notificationId);
    if (!force && !info.HasChanged()) {
        Trace::Information("the server knows the provider already", provider);
        return Success;
    }
    const uint32_t result = Bind(info, context.GetDispatcher());
    if (result != Success) runFlags |= RunFlagRetry;
    return result;
}

bool CDeviceBindHandler::IsForced() const {
    bool force = false;
    const CMessageObject* body = nullptr;
    if (event.GetObject(name, body)) body->GetBool(u"Force", force);
    if (force) LogTo(tracebox, LogInformation, "Force DeviceBind required");
    return force;
}

uint32_t CDeviceBindHandler::ChooseProvider(CRealtimeContext& context) const {
    CRealtimeManager* manager = context.GetRealtimeManager();
    if (manager && manager->IsPushConnected()) {
        LogTo(tracebox, LogInformation, "Should bind to CommandHub notifications (real time)");
        return ProviderCommandHub;
    }
    if (context.GetDmpNotificationsManager()) {
        LogTo(tracebox, LogInformation, "Should bind to DMP notifications");
        return ProviderDmp;
    }
    Trace::Error("there is no provider to bind to");
    return ProviderNone;
}

uint32_t CDeviceBindHandler::Bind(CDeviceBindInfo& info, IDispatcherHelper* dispatcher) const {
    CRequestBody body(info.BuildMessage());
    WebApiRequest request(nullptr, {}, &body, u"Method_Bind", {}, {});
    WebApiResponse response(dispatcher);
    WirelinkRequestDispatcher sender(nullptr, IsTestMode());
    const uint32_t failure = sender.Send(request, 0, response, nullptr);
    if (failure != Success) {
        LogTo(tracebox, LogError, "Error sending DeviceBind message. Error %d", failure);
        return failure;
    }
    const uint32_t result = Judge(response.GetStatus());
    if (result == Success || result == Continue) NoteAccepted(info);
    return result;
}

uint32_t CDeviceBindHandler::Judge(uint32_t status) const {
    const uint32_t result = StatusToError(status);
    if (result != Success && result != Continue)
        LogTo(tracebox, LogError, "Error in DeviceBind response. Error %d - HTTP Status %d", result, status);
    return result;
}

void CDeviceBindHandler::NoteAccepted(CDeviceBindInfo& info) const {
    if (info.provider == ProviderDmp) {
        LogTo(tracebox, LogInformation, "Binded to DMP notifications");
    } else if (info.provider == ProviderCommandHub) {
        LogTo(tracebox, LogInformation, "Binded to CommandHub notifications (real time)");
    } else {
        LogTo(tracebox, LogInformation, "Binded to %d", info.provider);
    }
    if (!info.SaveLastInfoSent()) LogTo(tracebox, LogError, "Error: Cannot save last bind info sent");
}

}  // namespace orrery
