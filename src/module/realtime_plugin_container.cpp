#include "module/realtime_plugin_container.h"

#include <memory>
#include <new>

#include "events/dispatcher_helper.h"
#include "events/scheduler_helper.h"
#include "foundation/libraries/tracebox_loader.h"
#include "foundation/trace.h"
#include "module/realtime_event_handler.h"
#include "module/realtime_plugin.h"
#include "platform/error_codes.h"
#include "platform/mutex.h"

namespace orrery {

namespace {

constexpr char16_t pluginGuid[] = u"9ca356ef-b66e-421e-b61a-d6310c668b66";

// The log service and its users.
class LogService {
  public:
    // A service that can't be had is no failure.
    void Acquire() {
        if (!traceboxLoader) {
            traceboxLoader = std::make_unique<CTraceboxLoader>();
            tracebox = traceboxLoader->GetInterface();
        }
        if (!tracebox) {
            Trace::Error("there is no log service");
            traceboxLoader.reset();
            return;
        }
        ++traceboxUsers;
    }

    void Release() {
        if (!tracebox || --traceboxUsers > 0) return;
        traceboxLoader->ReleaseInterface(&tracebox);
        tracebox = nullptr;
        traceboxLoader.reset();
    }

    ITracebox* Get() const { return tracebox; }

  private:
    ITracebox* tracebox = nullptr;
    std::unique_ptr<CTraceboxLoader> traceboxLoader;
    uint32_t traceboxUsers = 0;
};

// The process-wide objects, each built on those before it.
class Objects {
  public:
    Objects() { log.Acquire(); }
    ~Objects() {
        container.reset();
        if (eventHandlers) StopContext(*eventHandlers);  // the host may have left that out
        eventHandlers.reset();
        schedulerHelper.reset();
        dispatcherHelper.reset();
        log.Release();
    }
    Objects(const Objects&) = delete;
    Objects& operator=(const Objects&) = delete;

    // False if memory ran out; what the context's constructor throws goes through.
    bool Create() {
        dispatcherHelper.reset(new (std::nothrow) CDispatcherHelper);
        if (!dispatcherHelper) return false;
        schedulerHelper.reset(new (std::nothrow) CSchedulerHelper(*dispatcherHelper));
        if (!schedulerHelper) return false;
        eventHandlers.reset(new (std::nothrow) CRealtimeEventHandler(log.Get(), dispatcherHelper.get(),
                                                                     schedulerHelper.get()));
        if (!eventHandlers) return false;
        container.reset(new (std::nothrow) CRealtimePluginContainer);
        return container != nullptr;
    }

    CRealtimePluginContainer* Container() const { return container.get(); }
    CRealtimeEventHandler& EventHandlers() const { return *eventHandlers; }

  private:
    LogService log;
    std::unique_ptr<CDispatcherHelper> dispatcherHelper;
    std::unique_ptr<CSchedulerHelper> schedulerHelper;
    std::unique_ptr<CRealtimeEventHandler> eventHandlers;
    std::unique_ptr<CRealtimePluginContainer> container;
};

Mutex moduleMutex;
// Raw, so that nothing of it runs at the process's end: a host that never frees the plug-in keeps its
// threads.
Objects* objects GUARDED_BY(moduleMutex) = nullptr;
uint32_t containerRefs GUARDED_BY(moduleMutex) = 0;

CPluginEventHandlers* RegistryOfPlugin() {
    MutexLock hold(moduleMutex);
    return objects ? &objects->EventHandlers() : nullptr;
}

}  // namespace

const char16_t* CRealtimePluginContainer::GetPluginGuid() {
    return pluginGuid;
}

uint32_t CRealtimePluginContainer::QueryInterface(const WideString& guid, IPluginInterface** out) {
    if (!out || guid.empty()) return InvalidParameter;
    if (guid != pluginGuid) return NotFound;
    CPluginEventHandlers* registry = RegistryOfPlugin();
    *out = registry ? new (std::nothrow) CRealtimePlugin(*registry) : nullptr;
    return Success;
}

IPluginV1* AcquirePlugin() {
    MutexLock hold(moduleMutex);
    if (containerRefs > 0) {
        ++containerRefs;
        return objects->Container();
    }
    auto fresh = std::make_unique<Objects>();
    if (!fresh->Create()) {
        Trace::Error("there is no memory for the plug-in");
        return nullptr;
    }
    objects = fresh.release();
    containerRefs = 1;
    return objects->Container();
}

void ReleasePlugin(IPluginV1* plugin) {
    if (!plugin) {
        Trace::Error("there is no plug-in to free");
        return;
    }
    MutexLock hold(moduleMutex);
    if (!objects || plugin != objects->Container()) return;
    if (--containerRefs > 0) return;
    delete objects;
    objects = nullptr;
}

}  // namespace orrery
