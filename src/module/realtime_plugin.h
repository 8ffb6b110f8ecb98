// The thin object through which the host drives the plug-in. It holds only its count: several may exist, and
// all act on the same registry.
#pragma once

#include <atomic>

#include "contracts/plugin.h"

namespace orrery {

class CPluginEventHandlers;

class CRealtimePlugin final : public IPluginInterface {
  public:
    // `eventHandlers` outlives the object's use; born with one reference.
    explicit CRealtimePlugin(CPluginEventHandlers& eventHandlers) : eventHandlers(eventHandlers) {}

    uint32_t AddRef() override { return ++refCount; }
    uint32_t Release() override;
    uint32_t Start() override;
    void Stop() override;
    const char16_t* GetEventHandlerString() override;
    uint32_t ExecuteEvent(const CMessageObject& event) override;

  private:
    CPluginEventHandlers& eventHandlers;
    std::atomic<uint32_t> refCount{1};
};

// Stops and releases the context that the registry holds, if it does. Whoever comes second finds none.
void StopContext(CPluginEventHandlers& eventHandlers);

}  // namespace orrery
