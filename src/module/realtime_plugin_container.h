// The container: what GetIPlugin hands to the host. It counts the uses of the host: the first makes the
// process-wide objects, the last frees them, and they can be made again after that.
#pragma once

#include "contracts/plugin.h"

namespace orrery {

class CRealtimePluginContainer final : public IPluginV1 {
  public:
    const char16_t* GetPluginGuid() override;
    uint32_t QueryInterface(const WideString& guid, IPluginInterface** out) override;
};

// Serialised by the module mutex. Without memory for the plug-in AcquirePlugin gives null; what the context's
// constructor throws leaves it, with nothing left behind.
IPluginV1* AcquirePlugin();
void ReleasePlugin(IPluginV1* plugin);

}  // namespace orrery
