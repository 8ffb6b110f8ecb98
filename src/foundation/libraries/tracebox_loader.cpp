#include "foundation/libraries/tracebox_loader.h"

#include "foundation/libraries/shared_library.h"
#include "foundation/system/install_paths.h"
#include "foundation/trace.h"

namespace orrery {

namespace {

SharedLibrary traceboxShared(SharedLibrary::AfterFailure::TriesAgain);

const char16_t* LogServiceFile() {
    return u"Tracebox.dll";
}

}  // namespace

CTraceboxLoader::CTraceboxLoader() {
    traceboxShared.AddUse(UtilsFolder, LogServiceFile);
}

// Also where the constructor got no use: the count is of loader objects while there is a library.
CTraceboxLoader::~CTraceboxLoader() {
    traceboxShared.DropUse();
}

ITracebox* CTraceboxLoader::GetInterface() {
    const Trace::Scope trace("CTraceboxLoader::GetInterface");
    return traceboxShared.GetObject<ITracebox>("GetITracebox");
}

void CTraceboxLoader::ReleaseInterface(ITracebox** tracebox) {
    const Trace::Scope trace("CTraceboxLoader::ReleaseInterface");
    traceboxShared.ReleaseObject("FreeITracebox", tracebox);
}

}  // namespace orrery
