#include "foundation/libraries/tracebox_loader.h"

#include <memory>

#include "foundation/libraries/loader.h"
#include "foundation/system/install_paths.h"
#include "foundation/trace.h"

namespace orrery {

namespace {

Mutex traceboxLock;
std::unique_ptr<CLoader> traceboxShared GUARDED_BY(traceboxLock);
uint32_t traceboxUses GUARDED_BY(traceboxLock) = 0;

}  // namespace

CTraceboxLoader::CTraceboxLoader() {
    MutexLock hold(traceboxLock);
    if (traceboxShared) {
        ++traceboxUses;
        return;
    }
    WideString folder;
    GetUtilsFolder(folder);
    traceboxShared = std::make_unique<CLoader>(folder);
    if (traceboxShared->Load(u"Tracebox.dll", {})) {
        ++traceboxUses;
        return;
    }
    Trace::Error("the log service can't be loaded", folder);
    traceboxShared.reset();
}

CTraceboxLoader::~CTraceboxLoader() {
    MutexLock hold(traceboxLock);
    if (!traceboxShared) return;
    if (--traceboxUses == 0) traceboxShared.reset();
}

ITracebox* CTraceboxLoader::GetInterface() {
    MutexLock hold(traceboxLock);
    if (!traceboxShared) return nullptr;
    const auto get = reinterpret_cast<GetITraceboxFunction>(traceboxShared->GetProc("GetITracebox"));
    if (!get) {
        Trace::Error("the log service lacks GetITracebox");
        return nullptr;
    }
    ITracebox* tracebox = get();
    if (!tracebox) Trace::Error("the log service gives no object");
    return tracebox;
}

void CTraceboxLoader::ReleaseInterface(ITracebox** tracebox) {
    if (!*tracebox) return;
    MutexLock hold(traceboxLock);
    if (!traceboxShared) return;
    const auto release = reinterpret_cast<FreeITraceboxFunction>(traceboxShared->GetProc("FreeITracebox"));
    if (!release) {
        Trace::Error("the log service lacks FreeITracebox");
        return;
    }
    release(tracebox);
}

}  // namespace orrery
