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

// Several of them may exist; each acts on the one plug-in that the process has at the time of a call, or on
// none.
class IPluginInterface : public IRefCounter {
  public:
    // Has the channel made and kept, on a thread of the module: it doesn't wait for a connection. 0, also
    // when there is nothing to start or it can't be started, which the log tells.
    virtual uint32_t Start() = 0;
    // Closes the channel, without an event of its own, and waits for the module's thread: as long, at worst,
    // as the connection attempt takes that it is in. Events that are being executed keep what they use; those
    // that come later find nothing to work with. For good: a Start behind it does nothing.
    virtual void Stop() = 0;
    // Names of the events that the host is to deliver, separated by semicolons. The module's, and valid until
    // FreeIPlugin.
    virtual const char16_t* GetEventHandlerString() = 0;
    // Runs the event on the caller's thread, which may wait for calls to the server, for minutes at worst.
    // Any number at once, from any thread; `event` is only read, and not used after the return. 0, or a code
    // of platform/error_codes.h; 87 for an event without a name. May throw; see the handler of the event.
    virtual uint32_t ExecuteEvent(const CMessageObject& event) = 0;
};

class IPluginV1 {
  public:
    virtual ~IPluginV1() = default;
    // Zero-terminated, 36 characters, lower case, no braces. Constant for the life of the library.
    virtual const char16_t* GetPluginGuid() = 0;
    // 0 and a new object owned by the caller through Release, null without memory; 87 for a null `out` or an
    // empty `guid`, 1168 for any other `guid` than the plug-in's, letter by letter: `out` is then untouched.
    // Any thread.
    virtual uint32_t QueryInterface(const WideString& guid, IPluginInterface** out) = 0;
};

// Exported as "GetIPlugin": the plug-in of the process, made by the first call and counted by each; null
// without memory. It loads the sibling libraries that it finds. Any thread.
using GetIPluginFunction = IPluginV1* (*)();
// Exported as "FreeIPlugin": undoes one GetIPlugin; any other pointer is let pass. The last one does what
// Stop does if the host left that out, and frees the plug-in. The host waits for its executions first.
using FreeIPluginFunction = void (*)(IPluginV1*);

}  // namespace orrery
