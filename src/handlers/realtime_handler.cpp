#include "handlers/realtime_handler.h"

#include "context/realtime_context.h"
#include "foundation/trace.h"

namespace orrery {

uint32_t CRealtimeHandler::Run(IPluginContext* context, CMessageObject&, CEventSequence& sequence,
                               uint32_t& runFlags) {
    const Trace::Scope trace("CRealtimeHandler::Run");
    auto* realtime = dynamic_cast<CRealtimeContext*>(context);
    if (realtime) return RunOn(*realtime, sequence, runFlags);
    Trace::Error("an event without a context", name);
    return 0;
}

}  // namespace orrery
