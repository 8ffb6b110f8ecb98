#include "events/dispatcher_helper.h"

#include <new>

#include "foundation/system/install_paths.h"
#include "foundation/trace.h"
#include "platform/error_codes.h"

namespace orrery {

Mutex CDispatcherHelper::dispatchMutex;

CDispatcherHelper::~CDispatcherHelper() {
    MutexLock hold(dispatchMutex);
    if (eventgate) {
        const auto release = reinterpret_cast<FreeIEventgateFunction>(loader->GetProc("FreeIEventgate"));
        release(&eventgate);
    }
    loader.reset();
}

uint32_t CDispatcherHelper::RaiseSequence(const CEventSequence& sequence, EventOrigin origin) {
    const Trace::Scope trace("CDispatcherHelper::RaiseSequence");
    return RaiseEventText(sequence.ToText(), origin);
}

uint32_t CDispatcherHelper::RaiseEvent(const CMessageObject& message, EventOrigin origin) {
    const Trace::Scope trace("CDispatcherHelper::RaiseEvent");
    WideString text;
    if (!message.Serialize(text)) {
        Trace::Error("an event can't be written", message.name);
        return InvalidParameter;
    }
    return RaiseEventText(text, origin);
}

uint32_t CDispatcherHelper::RaiseEventText(const WideString& text, EventOrigin origin) {
    const Trace::Scope trace("CDispatcherHelper::RaiseEventText");
    if (text.empty()) {
        Trace::Error("there is no event to raise");
        return InvalidParameter;
    }
    MutexLock hold(dispatchMutex);
    uint32_t result = eventgate ? Success : LoadLocked();
    if (!eventgate) return result;
    result = eventgate->Dispatch(text, origin == EventOrigin::Local);
    if (result != 0) {
        Trace::Error("raising an event failed", text, result);
    } else {
        Trace::Verbose("event raised", text, origin == EventOrigin::Local ? "true" : "false");
    }
    return result;
}

uint32_t CDispatcherHelper::RaiseEventList(const std::vector<WideString>& texts, EventOrigin origin) {
    const Trace::Scope trace("CDispatcherHelper::RaiseEventList");
    if (texts.empty()) return InvalidParameter;
    for (const WideString& text : texts) {
        const uint32_t result = RaiseEventText(text, origin);
        if (result == 0) continue;
        Trace::Error("an event of a list can't be raised, the rest is dropped", text, result);
        return result;
    }
    return Success;
}

uint32_t CDispatcherHelper::RaiseEventArray(const std::vector<WideString>& texts, EventOrigin origin) {
    const Trace::Scope trace("CDispatcherHelper::RaiseEventArray");
    if (texts.empty()) return InvalidParameter;
    WideString all;
    for (const WideString& text : texts) {
        all += all.empty() ? u'[' : u',';
        all += text;
    }
    return RaiseEventText(all + u']', origin);
}

uint32_t CDispatcherHelper::LoadLocked() {
    if (loader) return Success;
    try {
        WideString folder;
        GetInstallFolder(folder);
        return LoadFromLocked(folder);
    } catch (const std::bad_alloc&) {
        Trace::Error("there is no memory to load the dispatch library");
        loader.reset();
        return NotEnoughMemory;
    }
}

uint32_t CDispatcherHelper::LoadFromLocked(const WideString& folder) {
    loader = std::make_unique<CLoader>(folder);
    if (!loader->Load(u"Eventgate.dll", {})) {
        Trace::Error("the dispatch library can't be loaded", folder);
        return DllNotFound;
    }
    const auto get = reinterpret_cast<GetIEventgateFunction>(loader->GetProc("GetIEventgate"));
    if (!get || !loader->HasProc("FreeIEventgate")) {
        Trace::Error("the dispatch library lacks an export", folder);
        return ProcedureNotFound;
    }
    eventgate = get();
    if (eventgate) return Success;
    Trace::Error("the dispatch library gives no object", folder);
    return ObjectNotFound;
}

}  // namespace orrery
