#include "log_line.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string_view>

#include "platform/text.h"

namespace orrery::tracebox {
namespace {

constexpr std::array<std::string_view, 5> directives{"%ws", "%s", "%d", "%u", "%x"};

std::string_view DirectiveAt(std::string_view format) {
    for (const std::string_view directive : directives) {
        if (format.starts_with(directive)) return directive;
    }
    return {};
}

std::string Hexadecimal(const LogArgument& argument) {
    uint64_t bits = argument.unsignedValue;
    if (argument.kind == LogArgument::Kind::Signed) {
        // A negative result code is looked up by its 32-bit pattern.
        const int64_t number = argument.signedValue;
        const bool narrow = number >= std::numeric_limits<int32_t>::min();
        bits = number < 0 && narrow ? static_cast<uint32_t>(number) : static_cast<uint64_t>(number);
    }
    std::array<char, 17> digits{};
    std::snprintf(digits.data(), digits.size(), "%llx", static_cast<unsigned long long>(bits));
    return digits.data();
}

std::string Number(const LogArgument& argument, std::string_view directive) {
    if (directive == "%x") return Hexadecimal(argument);
    if (argument.kind == LogArgument::Kind::Signed) return std::to_string(argument.signedValue);
    return std::to_string(argument.unsignedValue);
}

WideString TextOf(const LogArgument& argument, std::string_view directive) {
    switch (argument.kind) {
        case LogArgument::Kind::Wide:
            return argument.wide ? argument.wide : u"NULL";
        case LogArgument::Kind::Narrow:
            return argument.narrow ? ToWide(argument.narrow) : u"NULL";
        default:
            return ToWide(Number(argument, directive));
    }
}

bool IsControl(char16_t unit) {
    const bool isC0 = unit < 0x20 || unit == 0x7F;
    const bool isC1 = unit >= 0x80 && unit < 0xA0;
    return isC0 || isC1 || unit == 0x2028 || unit == 0x2029;
}

WideString Escape(char16_t unit) {
    switch (unit) {
        case u'\n':
            return u"\\n";
        case u'\r':
            return u"\\r";
        case u'\t':
            return u"\\t";
        default:
            break;
    }
    std::array<char, 8> escape{};
    std::snprintf(escape.data(), escape.size(), unit < 0x100 ? "\\x%02x" : "\\u%04x", unsigned{unit});
    return ToWide(escape.data());
}

std::string OneLine(const WideString& text) {
    WideString line;
    line.reserve(text.size());
    for (const char16_t unit : text) {
        if (IsControl(unit)) {
            line += Escape(unit);
        } else {
            line += unit;
        }
    }
    return ToUtf8(line);
}

}  // namespace

std::string FormatLine(const char* format, std::span<const LogArgument> arguments) {
    std::string_view rest = format ? format : "NULL";
    WideString text;
    while (!rest.empty()) {
        const size_t literal = std::min(rest.find('%'), rest.size());
        text += ToWide(rest.substr(0, literal));
        rest.remove_prefix(literal);
        if (rest.empty()) break;

        const std::string_view directive = DirectiveAt(rest);
        if (!directive.empty() && !arguments.empty()) {
            text += TextOf(arguments.front(), directive);
            arguments = arguments.subspan(1);
            rest.remove_prefix(directive.size());
        } else {
            text += u'%';
            rest.remove_prefix(rest.starts_with("%%") ? 2 : 1);
        }
    }
    return OneLine(text);
}

}  // namespace orrery::tracebox
