// The thin object through which the host drives the plug-in. It holds only its count: several may exist, and
// all act on the objects that the process has at the moment of the call. After the last FreeIPlugin there are
// none, and nothing is left to do.
#pragma once

#include <atomic>

#include "contracts/plugin.h"

namespace orrery {

class CRealtimePlugin final : public IPluginInterface {
  public:
    // Born with one reference.
    CRealtimePlugin() = default;

    uint32_t AddRef() override { return ++refCount; }
    uint32_t Release() override;
    uint32_t Start() override;
    void Stop() override;
    const char16_t* GetEventHandlerString() override;
    // 87 also where there is no registry: it takes no event of that name. What a handler throws goes through.
    uint32_t ExecuteEvent(const CMessageObject& event) override;

  private:
    std::atomic<uint32_t> refCount{1};
};

}  // namespace orrery
