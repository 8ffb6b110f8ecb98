#include "foundation/text/numbers.h"

#include <algorithm>
#include <limits>
#include <string>

namespace orrery {

namespace {

struct Digits {
    bool negative = false;
    bool any = false;
    bool overflow = false;
    uint64_t magnitude = 0;
};

bool IsSpace(char16_t unit) {
    return unit == u' ' || (unit >= u'\t' && unit <= u'\r');
}

// The digits at the very front.
Digits ReadPlain(WideView text) {
    Digits digits;
    for (size_t i = 0; i < text.size() && text[i] >= u'0' && text[i] <= u'9'; ++i) {
        const auto digit = static_cast<uint64_t>(text[i] - u'0');
        digits.any = true;
        digits.overflow |= digits.magnitude > (std::numeric_limits<uint64_t>::max() - digit) / 10;
        digits.magnitude = digits.magnitude * 10 + digit;
    }
    return digits;
}

// Behind white space and a sign.
Digits ReadDigits(WideView text) {
    while (!text.empty() && IsSpace(text.front())) text.remove_prefix(1);
    const bool negative = text.starts_with(u'-');
    if (negative || text.starts_with(u'+')) text.remove_prefix(1);
    Digits digits = ReadPlain(text);
    digits.negative = negative;
    return digits;
}

WideString Widen(const std::string& ascii) {
    return {ascii.begin(), ascii.end()};
}

}  // namespace

std::optional<uint64_t> PlainNumber(WideView text) {
    const Digits digits = ReadPlain(text);
    if (!digits.any || digits.overflow) return {};
    return digits.magnitude;
}

std::optional<uint64_t> LeadingUnsigned(WideView text) {
    const Digits digits = ReadDigits(text);
    if (!digits.any || digits.overflow || (digits.negative && digits.magnitude != 0)) return {};
    return digits.magnitude;
}

std::optional<int64_t> LeadingSigned(WideView text) {
    const Digits digits = ReadDigits(text);
    const uint64_t bound =
        static_cast<uint64_t>(std::numeric_limits<int64_t>::max()) + (digits.negative ? 1 : 0);
    if (!digits.any || digits.overflow || digits.magnitude > bound) return {};
    return static_cast<int64_t>(digits.negative ? 0 - digits.magnitude : digits.magnitude);
}

int32_t LeadingInt32(WideView text) {
    const Digits digits = ReadDigits(text);
    constexpr int64_t lowest = std::numeric_limits<int32_t>::min();
    constexpr int64_t highest = std::numeric_limits<int32_t>::max();
    const uint64_t magnitude =
        digits.overflow ? highest + 1ULL : std::min<uint64_t>(digits.magnitude, highest + 1ULL);
    const auto number = static_cast<int64_t>(magnitude);
    return static_cast<int32_t>(std::clamp(digits.negative ? -number : number, lowest, highest));
}

uint32_t LeadingUInt32(WideView text) {
    const Digits digits = ReadDigits(text);
    if (digits.negative) return 0;
    constexpr uint64_t highest = std::numeric_limits<uint32_t>::max();
    return static_cast<uint32_t>(digits.overflow ? highest : std::min(digits.magnitude, highest));
}

WideString DecimalText(int64_t number) {
    return Widen(std::to_string(number));
}

WideString DecimalText(uint64_t number) {
    return Widen(std::to_string(number));
}

}  // namespace orrery
