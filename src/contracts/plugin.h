// What the host sees of the module: two exports and the interfaces behind them.
//
// The order of calls: GetIPlugin; GetPluginGuid and QueryInterface; Start and GetEventHandlerString; any
// number of ExecuteEvent, from any thread; Stop; Release; FreeIPlugin. Host and module share CMessageObject
// and WideString and are built alike.
#pragma once

#include <cstdint>

#include "contracts/ref_counter.h"
#include "contracts/wide_string.h"

namespace orrery {

class CMessageObject;

class IPluginInterface : public IRefCounter {
  public:
    virtual uint32_t Start() = 0;
    virtual void Stop() = 0;
    // Names of the events that the host is to deliver, separated by semicolons. Owned by the module.
    virtual const char16_t* GetEventHandlerString() = 0;
    // 0, or a code of platform/error_codes.h. May throw; see the handler of the event.
    virtual uint32_t ExecuteEvent(const CMessageObject& event) = 0;
};

class IPluginV1 {
  public:
    virtual ~IPluginV1() = default;
    // Zero-terminated, 36 characters, lower case, no braces.
    virtual const char16_t* GetPluginGuid() = 0;
    // 0 and a new object owned by the caller through Release; 87 for a null `out` or an empty `guid`, 1168
    // for any other `guid` than the plug-in's.
    virtual uint32_t QueryInterface(const WideString& guid, IPluginInterface** out) = 0;
};

// Exported as "GetIPlugin" and "FreeIPlugin".
using GetIPluginFunction = IPluginV1* (*)();
using FreeIPluginFunction = void (*)(IPluginV1*);

}  // namespace orrery
