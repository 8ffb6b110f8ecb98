// The event dispatch library, Eventgate.dll: takes the JSON text of events and hands them to the agent.
//
// One object serves the process: every GetIEventgate gives the same one, and it goes with the last
// FreeIEventgate.
#pragma once

#include <cstdint>

#include "contracts/wide_string.h"

namespace orrery {

class CMessageObject;

// The agent's end of the library.
class IEventReceiver {
  public:
    virtual ~IEventReceiver() = default;
    // On the library's delivering thread, one event at a time, in the order of dispatch. `event` is a
    // complete document with one member, the event's name, and the library's; `flag` is that of Dispatch. It
    // may take its time: what is dispatched meanwhile waits. An exception costs this event and no other.
    virtual void OnEvent(const CMessageObject& event, bool flag) = 0;
};

class IEventgate {
  public:
    virtual ~IEventgate() = default;
    // Null to remove; no call to the earlier receiver comes after the return: it waits for one in flight,
    // unless it is made from that call. The receiver stays its owner's. Events wait in the queue while there
    // is none. Any thread.
    virtual void SetReceiver(IEventReceiver* receiver) = 0;
    // `text`: a document, an array of documents, or a bare `"Name":{...}`; copied. 0 once queued, 87 for text
    // that is no event, 8 when too much waits; of an array all events are queued or none. It neither delivers
    // before it returns nor waits for a delivery. `flag` goes to the receiver as it is. Any thread.
    virtual uint32_t Dispatch(const WideString& text, bool flag) = 0;
};

// Exported as "GetIEventgate" and "FreeIEventgate". The latter clears the caller's pointer; the last one
// waits until what is queued has been delivered.
using GetIEventgateFunction = IEventgate* (*)();
using FreeIEventgateFunction = void (*)(IEventgate**);

}  // namespace orrery
