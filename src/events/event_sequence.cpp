#include "events/event_sequence.h"

#include <algorithm>

#include "foundation/trace.h"
#include "platform/error_codes.h"
#include "platform/guid.h"

namespace orrery {

namespace {

void AddIfSet(CMessageObject& message, const char16_t* key, const WideString& text) {
    if (!text.empty()) message.AddString(key, text);
}

// Keys are written as they are.
bool NeedsNoEscape(WideView key) {
    return std::none_of(key.begin(), key.end(),
                        [](char16_t unit) { return unit < u' ' || unit == u'"' || unit == u'\\'; });
}

// What is below `object` has keys exactly where JSON has them, and such as can be written.
bool HasJsonKeys(const CMessageObject& object) {
    return std::all_of(object.items.begin(), object.items.end(), [&object](const CMessageItem& item) {
        if (item.name.empty() != object.isArray || !NeedsNoEscape(item.name)) return false;
        return item.kind != KindObject || HasJsonKeys(*item.value.object);
    });
}

}  // namespace

CEventSequence::CEventSequence(WideString source, WideString schedulerId, WideString executionTime)
    : source(std::move(source)),
      schedulerId(std::move(schedulerId)),
      executionTime(std::move(executionTime)) {
    WideString guid;
    if (!platform::NewGuid(guid)) return;
    sequenceId.reserve(guid.size() + 2);
    sequenceId.append(1, u'{').append(guid).append(1, u'}');
}

void CEventSequence::Stamp(CMessageObject& message) const {
    constexpr size_t most = 4;
    message.items.reserve(message.items.size() + most);
    message.AddString(u"EventId", sequenceId);
    AddIfSet(message, u"EventSource", source);
    AddIfSet(message, u"EventSchedulerId", schedulerId);
    AddIfSet(message, u"SchedulerExecutionTime", executionTime);
}

uint32_t CEventSequence::AddEvent(CMessageObject message) {
    const Trace::Scope trace("CEventSequence::AddEvent");
    if (message.isArray || !NeedsNoEscape(message.name) || !HasJsonKeys(message)) return InvalidParameter;
    return Append(CMessageItem(std::move(message)));
}

uint32_t CEventSequence::Append(CMessageItem event) {
    CMessageObject& message = *event.AsObject();
    if (!message.IsWritable()) return InvalidParameter;
    Stamp(message);
    // Without a name it writes itself as a document; with one, as a bare key and object, which is given
    // braces.
    if (message.name.empty()) {
        events.push_back(std::move(message));
    } else {
        events.emplace_back().AddItem(std::move(event), false);
    }
    return Success;
}

uint32_t CEventSequence::AddActions(CMessageObject&& response) {
    const Trace::Scope trace("CEventSequence::AddActions");
    const auto found = std::find_if(response.items.begin(), response.items.end(),
                                    [](const CMessageItem& item) { return item.name == u"Actions"; });
    if (found == response.items.end() || !found->AsObject()) return NoData;
    CMessageItem actions = std::move(*found);
    response.items.erase(found);
    for (CMessageItem& action : actions.AsObject()->items) {
        CMessageObject* const event = action.AsObject();
        if (!event) continue;
        // One event that can't be told in JSON doesn't cost the others.
        if (action.name.empty() || !NeedsNoEscape(action.name) || !HasJsonKeys(*event)) {
            Trace::Warning("an action has a key that can't be written: left out", action.name);
            continue;
        }
        const uint32_t result = Append(std::move(action));
        if (result != 0) return result;
    }
    return events.empty() ? NoData : Success;
}

WideString CEventSequence::ToText() const {
    const Trace::Scope trace("CEventSequence::ToText");
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
