#include "standins/prefstore/setting_key.h"

#include <algorithm>

#include "platform/text.h"

namespace orrery::prefstore {

namespace {

char16_t Fold(char16_t unit) {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
}

bool IsNothing(const char16_t* part) {
    return part == nullptr || *part == u'\0';
}

}  // namespace

std::optional<KeyParts> SplitKey(WideView key) {
    const size_t first = key.find(u'.');
    if (first == WideView::npos) return std::nullopt;
    const size_t second = key.find(u'.', first + 1);
    if (second == WideView::npos || key.find(u'\0') != WideView::npos) return std::nullopt;

    const KeyParts parts{key.substr(0, first), key.substr(first + 1, second - first - 1),
                         key.substr(second + 1)};
    if (parts.section.empty() || parts.group.empty() || parts.name.empty()) return std::nullopt;
    return parts;
}

std::optional<WideString> JoinKey(const char16_t* section, const char16_t* group, const char16_t* name) {
    if (IsNothing(section) || IsNothing(group) || IsNothing(name)) return std::nullopt;
    return WideString(section).append(u".").append(group).append(u".").append(name);
}

bool BeginsWithNoCase(WideView text, WideView prefix) {
    return EqualNoCase(text.substr(0, prefix.size()), prefix);
}

bool KeyLess::operator()(WideView left, WideView right) const {
    // Keys share long beginnings, mostly in the same letter case.
    const auto [a, b] =
        std::mismatch(left.begin(), left.end(), right.begin(), right.end(),
                      [](char16_t one, char16_t other) { return one == other || Fold(one) == Fold(other); });
    return b != right.end() && (a == left.end() || Fold(*a) < Fold(*b));
}

}  // namespace orrery::prefstore
