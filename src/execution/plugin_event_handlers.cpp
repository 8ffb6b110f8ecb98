#include "execution/plugin_event_handlers.h"

#include <utility>

#include "events/dispatcher_helper.h"
#include "events/scheduler_helper.h"
#include "foundation/settings/config_helper.h"
#include "foundation/settings/registration.h"
#include "foundation/trace.h"
#include "platform/error_codes.h"

namespace orrery {

namespace {

constexpr uint32_t stringIsValid = 1;

}  // namespace

CPluginEventHandlers::~CPluginEventHandlers() = default;

void CPluginEventHandlers::AddEventHandler(const WideString& name, std::unique_ptr<CEventHandler> handler) {
    const Trace::Scope trace("CPluginEventHandlers::AddEventHandler");
    handlers.try_emplace(name, std::move(handler));
    MutexLock hold(stringLock);
    cacheFlags &= ~stringIsValid;
}

CEventHandler* CPluginEventHandlers::GetEventHandler(const WideString& name) const {
    const auto found = handlers.find(name);
    return found == handlers.end() ? nullptr : found->second.get();
}

const char16_t* CPluginEventHandlers::GetEventHandlerString() {
    const Trace::Scope trace("CPluginEventHandlers::GetEventHandlerString");
    MutexLock hold(stringLock);
    if ((cacheFlags & stringIsValid) == 0) {
        handlerString.clear();
        for (const auto& entry : handlers) handlerString += entry.first + u";";
        if (!handlerString.empty()) handlerString.pop_back();
        cacheFlags |= stringIsValid;
    }
    return handlerString.c_str();
}

ContextRef CPluginEventHandlers::GetContext() {
    MutexLock hold(contextLock);
    return context;
}

ContextRef CPluginEventHandlers::GiveUpContext() {
    MutexLock hold(contextLock);
    return std::move(context);
}

uint32_t CPluginEventHandlers::CheckHandlerConditions(const CEventHandler& handler,
                                                      const CEventExecution& execution) const {
    const Trace::Scope trace("CPluginEventHandlers::CheckHandlerConditions");
    if (execution.maxErrors != 0 && execution.maxErrors < execution.errorCount) {
        LogTo(tracebox, LogError,
              "Too many erroneous executions (%d/%d) for event [%ws], executions allowed in %d seconds",
              execution.errorCount, execution.maxErrors, handler.name, execution.GetRemainingSeconds());
        return AccessDisabledByPolicy;
    }
    WideString deviceId;
    if (execution.needRegister && !GetRegisteredDeviceId(deviceId)) {
        LogTo(tracebox, LogError, "Invalid state: device not registered");
        return DeviceNotRegistered;
    }
    return Success;
}

uint32_t CPluginEventHandlers::ExecuteEventHandler(const WideString& name, const CMessageObject& event) {
    const Trace::Scope trace("CPluginEventHandlers::ExecuteEventHandler");
    const CEventHandler* prototype = GetEventHandler(name);
    if (!prototype) {
        LogTo(tracebox, LogError, "Handler %ws doesn't exist", name);
        return InvalidParameter;
    }
    // Every prototype is a CEventHandler, and so are the instances it makes.
    const std::unique_ptr<CEventHandler> handler(
        static_cast<CEventHandler*>(prototype->NewInstance(event, scheduler)));
    if (!handler) {
        LogTo(tracebox, LogError, "Cannot create new handler instance for %ws", name);
        return InvalidParameter;
    }
    CEventExecution execution(GetConfigUtil(), handler->name);
    Outcome outcome = RunHandler(*handler, execution);
    UpdateErrorState(*handler, execution, outcome);
    if (outcome.result != 0) LogTo(tracebox, LogError, "Error %d: Calling handler %ws", outcome.result, name);
    return outcome.result;
}

CPluginEventHandlers::Outcome CPluginEventHandlers::RunHandler(CEventHandler& handler,
                                                               CEventExecution& execution) {
    Outcome outcome;
    outcome.result = CheckHandlerConditions(handler, execution);
    if (outcome.result != 0) return outcome;
    const ContextRef held = GetContext();  // it may be given up while the handler runs
    CMessageObject response;
    CEventSequence sequence(handler.GetDisplayName());
    uint32_t runFlags = 0;
    outcome.runResult = handler.Run(held.Get(), response, sequence, runFlags);
    outcome.result = outcome.runResult;
    if ((runFlags & RunFlagSequence) != 0 && RaiseRequestedSequence(handler, sequence)) outcome.result = 0;
    if ((runFlags & RunFlagRetry) != 0) {
        LogTo(tracebox, LogInformation, "%ws requests a delayed retry", handler.name);
        handler.RetryEvent(execution);
        outcome.result = 0;
    }
    if (!response.items.empty()) {
        RaiseServerActions(std::move(response));
        outcome.result = 0;
    }
    return outcome;
}

bool CPluginEventHandlers::RaiseRequestedSequence(const CEventHandler& handler,
                                                  const CEventSequence& sequence) const {
    if (sequence.IsEmpty()) {
        LogTo(tracebox, LogError, "Error: %ws requests a null object sequence", handler.name);
        return false;
    }
    LogTo(tracebox, LogInformation, "%ws requests a sequence", handler.name);
    dispatcher->RaiseSequence(sequence, EventOrigin::Local);
    return true;
}

void CPluginEventHandlers::RaiseServerActions(CMessageObject&& response) const {
    CEventSequence actions(u"CPluginEventHandlers::ExecuteEventHandler");
    const uint32_t added = actions.AddActions(std::move(response));
    if (added == NoData) return;
    if (added != 0) {
        LogTo(tracebox, LogError, "Error %d: Erroneous actions from server", added);
        return;
    }
    const uint32_t raised = dispatcher->RaiseSequence(actions, EventOrigin::Remote);
    if (raised != 0) LogTo(tracebox, LogError, "Error %d: Raising actions from server", raised);
}

// Plain failures are not counted: only work that was found still going on is.
void CPluginEventHandlers::UpdateErrorState(const CEventHandler& handler, CEventExecution& execution,
                                            Outcome& outcome) const {
    const bool throttled = outcome.result == AccessDisabledByPolicy;
    if (!throttled && outcome.runResult == Success) {
        execution.ClearErrors();
        handler.scheduler->RemoveRetry(handler.event);
    } else if (!throttled && outcome.runResult == AlreadyRunning) {
        execution.CountError(AlreadyRunning);
    } else if (outcome.runResult == DeviceNotRegistered) {
        outcome.result = RequestRegistration(handler);
    }
}

uint32_t CPluginEventHandlers::RequestRegistration(const CEventHandler& handler) const {
    LogTo(tracebox, LogError, "%ws fails because device is not registered, raising a registration request",
          handler.name);
    CMessageObject request(u"EVENT_REGISTER_PERFORM");
    request.AddString(u"EventSource", handler.GetDisplayName());
    return dispatcher->RaiseEvent(request, EventOrigin::Local);
}

}  // namespace orrery
