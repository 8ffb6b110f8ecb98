// Takes the text of events apart into single events. It neither queues nor delivers, and doesn't know which
// names mean something. No state: any thread may call it.
#pragma once

#include <vector>

#include "contracts/wide_string.h"
#include "foundation/json/message_object.h"

namespace orrery::eventgate {

// `text` is a document, an array of documents, or a bare `"Name":{...}`. Each member of a document that is an
// object under a name is one event, and comes out as a document of its own; other members beside it are
// ignored. False, `events` untouched, if the text isn't JSON or if it, or a member of the array, holds no
// event.
bool ReadEvents(const WideString& text, std::vector<CMessageObject>& events);

}  // namespace orrery::eventgate
