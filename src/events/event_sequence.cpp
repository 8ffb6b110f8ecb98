#include "events/event_sequence.h"

#include "platform/error_codes.h"
#include "platform/guid.h"

namespace orrery {

namespace {

void AddIfSet(CMessageObject& message, const char16_t* key, const WideString& text) {
    if (!text.empty()) message.AddString(key, text);
}

}  // namespace

CEventSequence::CEventSequence(WideString source, WideString schedulerId, WideString executionTime)
    : source(std::move(source)),
      schedulerId(std::move(schedulerId)),
      executionTime(std::move(executionTime)) {
    WideString guid;
    if (platform::NewGuid(guid)) sequenceId = u"{" + guid + u"}";
}

void CEventSequence::Stamp(CMessageObject& message) const {
    message.AddString(u"EventId", sequenceId);
    AddIfSet(message, u"EventSource", source);
    AddIfSet(message, u"EventSchedulerId", schedulerId);
    AddIfSet(message, u"SchedulerExecutionTime", executionTime);
}

uint32_t CEventSequence::AddEvent(const CMessageObject& message) {
    if (!message.IsWritable()) return InvalidParameter;
    CMessageObject stamped = message;
    Stamp(stamped);
    // Without a name it writes itself as a document; with one, as a bare key and object, which is given
    // braces.
    if (message.name.empty()) {
        events.push_back(std::move(stamped));
    } else {
        events.emplace_back().AddItem(CMessageItem(std::move(stamped)), true);
    }
    return Success;
}

uint32_t CEventSequence::AddActions(const CMessageObject& response) {
    const CMessageObject* actions = nullptr;
    if (!response.GetObject(u"Actions", actions)) return NoData;
    for (const CMessageItem& action : actions->items) {
        if (action.kind != KindObject) continue;
        const uint32_t result = AddEvent(*action.value.object);
        if (result != 0) return result;
    }
    return events.empty() ? NoData : Success;
}

WideString CEventSequence::ToText() const {
    WideString one;
    if (events.size() == 1) events.front().Serialize(one);
    if (events.size() < 2) return one;
    WideString text;
    for (const CMessageObject& event : events) {
        event.Serialize(one);
        text += text.empty() ? u'[' : u',';
        text += one;
    }
    return text + u']';
}

}  // namespace orrery
