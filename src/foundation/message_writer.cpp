#include <charconv>
#include <cmath>

#include "foundation/message_object.h"

namespace orrery {

namespace {

void AppendAscii(WideString& out, const char* begin, const char* end) {
    out.append(begin, end);
}

void AppendKey(WideString& out, const WideString& key) {
    if (key.empty()) return;
    out += u'"';
    out += key;  // never escaped
    out += u"\":";
}

const char16_t* Escape(char16_t unit) {
    switch (unit) {
        case u'\\':
            return u"\\\\";
        case u'"':
            return u"\\\"";
        case u'\r':
            return u"\\r";
        case u'\n':
            return u"\\n";
        default:
            return nullptr;
    }
}

// Only these four are escaped; every other character is written raw.
void AppendString(WideString& out, const WideString& text) {
    out += u'"';
    size_t written = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const char16_t* escape = Escape(text[i]);
        if (!escape) continue;
        out.append(text, written, i - written);
        out += escape;
        written = i + 1;
    }
    out.append(text, written, text.size() - written);
    out += u'"';
}

template <class Integer>
void AppendInteger(WideString& out, Integer number) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    AppendAscii(out, digits, end);
}

// Fixed notation with six digits behind the point; a number that isn't finite has no form in JSON.
bool AppendDouble(WideString& out, double number) {
    if (!std::isfinite(number)) return false;
    char digits[400];
    const auto end = std::to_chars(digits, digits + sizeof digits, number, std::chars_format::fixed, 6).ptr;
    AppendAscii(out, digits, end);
    return true;
}

}  // namespace

bool CMessageItem::AppendTo(WideString& out) const {
    if (kind != KindObject) AppendKey(out, name);
    switch (kind) {
        case KindInteger:
            if (isUnsigned) {
                AppendInteger(out, static_cast<uint64_t>(value.integer));
            } else {
                AppendInteger(out, value.integer);
            }
            return true;
        case KindDouble:
            return AppendDouble(out, value.number);
        case KindBoolean:
            out += value.boolean ? u"true" : u"false";
            return true;
        case KindString:
            AppendString(out, text);
            return true;
        case KindObject:
            return value.object->AppendTo(out);
        case KindNull:
            out += u"null";
            return true;
        default:
            return false;
    }
}

bool CMessageItem::Serialize(WideString& out) const {
    WideString written;
    if (!AppendTo(written)) return false;
    out = std::move(written);
    return !out.empty();
}

bool CMessageItem::SerializeUtf8(std::string& out) const {
    WideString wide;
    return Serialize(wide) && WideToUtf8(wide, out);
}

bool CMessageObject::AppendTo(WideString& out) const {
    AppendKey(out, name);
    out += isArray ? u'[' : u'{';
    bool first = true;
    for (const CMessageItem& item : items) {
        if (!first) out += u',';
        first = false;
        if (!item.AppendTo(out)) return false;
    }
    out += isArray ? u']' : u'}';
    return true;
}

bool CMessageObject::Serialize(WideString& out) const {
    out.clear();
    if (AppendTo(out)) return true;
    out.clear();
    return false;
}

bool CMessageObject::SerializeUtf8(std::string& out) const {
    WideString wide;
    return Serialize(wide) && WideToUtf8(wide, out);
}

}  // namespace orrery
