#include "agent/events/event_document.h"

#include "agent/schedule/schedule_task.h"

namespace orrery::agent {

bool ParseEvent(const std::string& utf8, CMessageObject& document, std::string& problem) {
    if (!document.Parse(utf8)) {
        problem = "this is no JSON document";
    } else if (!IsEvent(document)) {
        problem = "an event is an object with one member, its name, which is an object itself: {\"Name\":{}}";
    }
    return problem.empty();
}

bool IsEvent(const CMessageObject& document) {
    return !document.isArray && document.items.size() == 1 && !document.items.front().name.empty() &&
           document.items.front().AsObject();
}

EventParts PartsOf(const CMessageObject& document) {
    const CMessageItem& item = document.items.front();
    EventParts parts{item.name, *item.value.object, {}};
    parts.body.GetString(u"EventSource", parts.source);
    return parts;
}

}  // namespace orrery::agent
