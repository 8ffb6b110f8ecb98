#include "agent/text/printable.h"

#include <cstdio>

#include "platform/text.h"

namespace orrery::agent {

namespace {

bool IsHarmless(char16_t unit) {
    if (unit < 0x20) return unit == u'\t';
    const bool control = unit >= 0x7F && unit < 0xA0;
    const bool direction = unit == 0x061C || unit == 0x200E || unit == 0x200F ||
                           (unit >= 0x2028 && unit <= 0x202E) || (unit >= 0x2066 && unit <= 0x2069);
    return !control && !direction;
}

WideString Escaped(char16_t unit) {
    char text[8];
    std::snprintf(text, sizeof text, unit < 0x100 ? "\\x%02X" : "\\u%04X", static_cast<unsigned>(unit));
    return ToWide(text);
}

}  // namespace

std::string Printable(std::string_view line) {
    WideString shown;
    for (const char16_t unit : ToWide(line)) {
        if (IsHarmless(unit)) shown += unit;
        if (!IsHarmless(unit)) shown += Escaped(unit);
    }
    return ToUtf8(shown);
}

}  // namespace orrery::agent
