// Events that are raised together. Each is stamped with one id for the whole sequence and with its source.
// It raises nothing itself. Used by one thread.
#pragma once

#include <cstdint>
#include <vector>

#include "foundation/json/message_object.h"

namespace orrery {

class CEventSequence {
  public:
    explicit CEventSequence(WideString source, WideString schedulerId = {}, WideString executionTime = {});

    // 0, or 87 for what is no event: an array, or a message whose values or keys can't be written as JSON. A
    // named object becomes a document of its own.
    uint32_t AddEvent(CMessageObject message);
    // Takes the object `Actions` out of `response`. Each of its members that is a plain object is an event;
    // one with a key that JSON would have to escape is left out. 232 if the sequence is empty then, or there
    // is no such object; 87 for a value that can't be written.
    uint32_t AddActions(CMessageObject&& response);

    bool IsEmpty() const { return events.empty(); }
    // Nothing, one document, or an array of them.
    WideString ToText() const;

  private:
    void Stamp(CMessageObject& message) const;
    // `event` holds an object.
    uint32_t Append(CMessageItem event);

    const WideString source;
    WideString sequenceId;  // empty if the system gave no GUID
    const WideString schedulerId;
    const WideString executionTime;
    std::vector<CMessageObject> events;
};

}  // namespace orrery
