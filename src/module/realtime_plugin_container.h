// The container: what GetIPlugin hands to the host, and the process-wide objects behind it. They live from
// the first GetIPlugin to the last FreeIPlugin and can be made again after that.
#pragma once

#include "contracts/plugin.h"

namespace orrery {

class CRealtimePluginContainer final : public IPluginV1 {
  public:
    const char16_t* GetPluginGuid() override;
    uint32_t QueryInterface(const WideString& guid, IPluginInterface** out) override;
};

// Serialised by the module mutex. What the context's constructor throws leaves AcquirePlugin, with nothing
// left behind.
IPluginV1* AcquirePlugin();
void ReleasePlugin(IPluginV1* plugin);

}  // namespace orrery
