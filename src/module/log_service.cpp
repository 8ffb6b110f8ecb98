#include "module/log_service.h"

#include <new>

#include "foundation/trace.h"

namespace orrery {

LogService::LogService() {
    try {
        loader = std::make_unique<CTraceboxLoader>();
        tracebox = loader->GetInterface();
    } catch (const std::bad_alloc&) {
        Trace::Error("there is no memory to load the log service");
    }
    if (tracebox) return;
    Trace::Error("there is no log service");
    loader.reset();
}

LogService::~LogService() {
    if (loader) loader->ReleaseInterface(&tracebox);
}

}  // namespace orrery
