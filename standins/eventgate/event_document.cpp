#include "event_document.h"

#include <utility>

namespace orrery::eventgate {
namespace {

bool IsEvent(const CMessageItem& member) {
    return member.AsObject() && !member.name.empty();
}

bool TakeEvents(CMessageObject& document, std::vector<CMessageObject>& events) {
    const size_t before = events.size();
    for (CMessageItem& member : document.items) {
        if (IsEvent(member)) events.emplace_back().AddItem(std::move(member), false);
    }
    return events.size() > before;
}

bool TakeDocuments(CMessageObject& array, std::vector<CMessageObject>& events) {
    for (CMessageItem& member : array.items) {
        CMessageObject* const document = member.AsObject();
        if (!document || !TakeEvents(*document, events)) return false;
    }
    return !array.items.empty();
}

bool IsBare(WideView text) {
    const size_t start = text.find_first_not_of(u" \t\r\n");
    return start != WideView::npos && text[start] == u'"';
}

}  // namespace

bool ReadEvents(const WideString& text, std::vector<CMessageObject>& events) {
    CMessageObject root;
    if (!root.Parse(WideView(IsBare(text) ? u"{" + text + u"}" : text))) return false;
    std::vector<CMessageObject> found;
    const bool valid = root.isArray ? TakeDocuments(root, found) : TakeEvents(root, found);
    if (valid) events = std::move(found);
    return valid;
}

}  // namespace orrery::eventgate
