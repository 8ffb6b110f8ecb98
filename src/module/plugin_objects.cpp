#include "module/plugin_objects.h"

#include <new>
#include <utility>

#include "platform/mutex.h"

namespace orrery {

namespace {

struct Published {
    Mutex lock;  // a leaf: held to take or to change the share
    std::shared_ptr<PluginObjects> objects GUARDED_BY(lock);
};

// Nothing of the objects runs at the process's end: a host that never frees the plug-in keeps its threads. So
// this is never destroyed, as the member of a union isn't.
union Forever {
    Forever() : published() {}
    ~Forever() {}
    Published published;
} forever;

Published& TheOnes() {
    return forever.published;
}

std::shared_ptr<PluginObjects> Exchange(std::shared_ptr<PluginObjects> objects) {
    Published& ones = TheOnes();
    MutexLock hold(ones.lock);
    return std::exchange(ones.objects, std::move(objects));
}

}  // namespace

std::shared_ptr<PluginObjects> PluginObjects::Make() {
    std::shared_ptr<PluginObjects> objects;
    try {
        objects = std::make_shared<PluginObjects>();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    objects->registry.reset(new (std::nothrow) CRealtimeEventHandler(objects->log.Get(), &objects->dispatcher,
                                                                     &objects->scheduler));
    return objects->registry ? objects : nullptr;
}

void PluginObjects::Publish(std::shared_ptr<PluginObjects> objects) {
    Exchange(std::move(objects));
}

std::shared_ptr<PluginObjects> PluginObjects::Current() {
    Published& ones = TheOnes();
    MutexLock hold(ones.lock);
    return ones.objects;
}

std::shared_ptr<PluginObjects> PluginObjects::Withdraw() {
    return Exchange(nullptr);
}

void PluginObjects::StopContext() {
    const ContextRef context = registry->GiveUpContext();
    if (context) context->Stop();
}

}  // namespace orrery
