// The shape of an event: one document with one member, whose key is the event's name and whose value is an
// object. No state; safe from any thread.
#pragma once

#include <string>

#include "foundation/json/message_object.h"

namespace orrery::agent {

// The parts of an event that is known to be one; they live in the document.
struct EventParts {
    const WideString& name;
    const CMessageObject& body;
    WideString source;  // its EventSource, empty if it has none
};

// False, and `problem` says why, for text that isn't one event.
bool ParseEvent(const std::string& utf8, CMessageObject& document, std::string& problem);
bool IsEvent(const CMessageObject& document);
// Of a document for which IsEvent is true.
EventParts PartsOf(const CMessageObject& document);

}  // namespace orrery::agent
