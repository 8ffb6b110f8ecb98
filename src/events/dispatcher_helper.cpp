#include "events/dispatcher_helper.h"

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

uint32_t CDispatcherHelper::RaiseSequence(const CEventSequence& sequence, bool flag) {
    return RaiseEventText(sequence.ToText(), flag);
}

uint32_t CDispatcherHelper::RaiseEvent(const CMessageObject& message, bool flag) {
    WideString text;
    if (!message.Serialize(text)) {
        Trace::Error("an event can't be written", message.name);
        return InvalidParameter;
    }
    return RaiseEventText(text, flag);
}

uint32_t CDispatcherHelper::RaiseEventText(const WideString& text, bool flag) {
    if (text.empty()) {
        Trace::Error("there is no event to raise");
        return InvalidParameter;
    }
    MutexLock hold(dispatchMutex);
    uint32_t result = eventgate ? Success : LoadLocked();
    if (!eventgate) return result;
    result = eventgate->Dispatch(text, flag);
    if (result != 0) {
        Trace::Error("raising an event failed", text, result);
    } else {
        Trace::Verbose("event raised", text, flag ? "true" : "false");
    }
    return result;
}

uint32_t CDispatcherHelper::RaiseEventList(const std::vector<WideString>& texts, bool flag) {
    if (texts.empty()) return InvalidParameter;
    for (const WideString& text : texts) {
        const uint32_t result = RaiseEventText(text, flag);
        if (result == 0) continue;
        Trace::Error("an event of a list can't be raised, the rest is dropped", text, result);
        return result;
    }
    return Success;
}

uint32_t CDispatcherHelper::RaiseEventArray(const std::vector<WideString>& texts, bool flag) {
    WideString all = u"[";
    for (const WideString& text : texts) {
        if (all.size() > 1) all += u',';
        all += text;
    }
    return RaiseEventText(all + u"]", flag);
}

uint32_t CDispatcherHelper::LoadLocked() {
    if (loader) return Success;
    WideString folder;
    GetInstallFolder(folder);
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
