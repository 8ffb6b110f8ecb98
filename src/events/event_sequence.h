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

    // 0, or 87 for a message that can't be written. A named object becomes a document of its own.
    uint32_t AddEvent(const CMessageObject& message);
    // Each member of `Actions` that is an object or array. 232 if the sequence is empty then, or there is no
    // such object; else the first failure of AddEvent.
    uint32_t AddActions(const CMessageObject& response);

    bool IsEmpty() const { return events.empty(); }
    // Nothing, one document, or an array of them.
    WideString ToText() const;

  private:
    void Stamp(CMessageObject& message) const;

    const WideString source;
    WideString sequenceId;  // empty if the system gave no GUID
    const WideString schedulerId;
    const WideString executionTime;
    std::vector<CMessageObject> events;
};

}  // namespace orrery
