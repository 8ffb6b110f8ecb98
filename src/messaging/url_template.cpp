#include "messaging/url_template.h"

#include <algorithm>

#include "platform/text.h"

namespace orrery {

namespace {

constexpr char16_t separators[] = u"?&";

bool Fill(WideString& url, const std::map<WideString, WideString>& parameters) {
    for (size_t open = url.find(u'{'); open != WideString::npos;) {
        const size_t close = url.find(u'}', open);
        if (close == WideString::npos) return false;
        const WideView name = WideView(url).substr(open + 1, close - open - 1);
        const auto found = std::find_if(parameters.begin(), parameters.end(), [name](const auto& parameter) {
            return EqualNoCase(parameter.first, name);
        });
        size_t next = close + 1;
        if (found != parameters.end()) {
            if (found->second.empty()) return false;
            url.replace(open, next - open, found->second);
            next = open + found->second.size();
        }
        open = url.find(u'{', next);
    }
    return true;
}

}  // namespace

bool FillPlaceholders(WideString& url, const std::map<WideString, WideString>& parameters) {
    if (parameters.empty() || Fill(url, parameters)) return true;
    url.clear();
    return false;
}

void DropUnfilledQuery(WideString& url) {
    for (size_t open = url.find(u'{'); open != WideString::npos; open = url.find(u'{')) {
        const size_t close = url.find(u'}', open);
        const size_t separator = url.find_last_of(separators, open);
        if (close == WideString::npos || separator == WideString::npos) break;
        url.erase(separator, close - separator + 1);
    }
    const size_t first = url.find_first_of(separators);
    if (first != WideString::npos) url[first] = u'?';
}

}  // namespace orrery
