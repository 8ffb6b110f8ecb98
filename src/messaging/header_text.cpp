#include "messaging/header_text.h"

namespace orrery {

namespace {

constexpr char16_t blank = u' ';

// The last character of a value: the one before its line end is a CR. The last line may have no end at all.
size_t LastOfValue(WideView text, size_t lineEnd) {
    if (lineEnd == WideView::npos) return text.find_last_not_of(blank);
    return text.find_last_not_of(blank, lineEnd - 2);
}

}  // namespace

bool ParseHeaderText(WideView text, HeaderMap& headers) {
    size_t colon = 0;
    for (size_t begin = 0;;) {
        begin = text.find_first_not_of(blank, begin);
        if (begin == WideView::npos) return true;
        const size_t lineEnd = text.find(u'\n', begin + 1);
        // Lines without a colon share the next one: a search for each would be quadratic.
        if (colon <= begin) colon = text.find(u':', begin + 1);
        if (colon == WideView::npos) return true;
        if (colon < lineEnd) {
            const size_t nameEnd = text.find_last_not_of(blank, colon - 1);
            const size_t value = text.find_first_not_of(blank, colon + 1);
            const size_t last = LastOfValue(text, lineEnd);
            if (value == WideView::npos || last == WideView::npos || last < value) return false;
            headers.emplace(text.substr(begin, nameEnd - begin + 1), text.substr(value, last - value + 1));
        }
        if (lineEnd == WideView::npos) return true;
        begin = lineEnd + 1;
    }
}

}  // namespace orrery
