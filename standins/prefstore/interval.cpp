#include "standins/prefstore/interval.h"

#include <limits>
#include <optional>
#include <random>

#include "platform/error_codes.h"

namespace orrery::prefstore {

namespace {

constexpr uint64_t most = std::numeric_limits<uint32_t>::max();

WideView Trim(WideView text) {
    constexpr WideView blanks = u" \t";
    const size_t first = text.find_first_not_of(blanks);
    if (first == WideView::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::optional<uint32_t> ParseNumber(WideView digits) {
    if (digits.empty()) return std::nullopt;
    uint64_t number = 0;
    for (const char16_t digit : digits) {
        if (digit < u'0' || digit > u'9') return std::nullopt;
        number = number * 10 + (digit - u'0');
        if (number > most) return std::nullopt;
    }
    return static_cast<uint32_t>(number);
}

// 0 if `unit` is none.
uint32_t SecondsOf(char16_t unit) {
    switch (unit) {
        case u's':
            return 1;
        case u'm':
            return 60;
        case u'h':
            return 60 * 60;
        case u'd':
            return 24 * 60 * 60;
        default:
            return 0;
    }
}

std::optional<uint32_t> ParseDuration(WideView text) {
    uint64_t factor = text.empty() ? 0 : SecondsOf(text.back());
    if (factor != 0) text.remove_suffix(1);
    const std::optional<uint32_t> number = ParseNumber(text);
    if (!number) return std::nullopt;
    const uint64_t seconds = *number * (factor != 0 ? factor : 1);
    if (seconds > most) return std::nullopt;
    return static_cast<uint32_t>(seconds);
}

std::optional<uint32_t> Draw(WideView bounds) {
    const size_t comma = bounds.find(u',');
    if (comma == WideView::npos) return std::nullopt;
    const std::optional<uint32_t> least = ParseNumber(Trim(bounds.substr(0, comma)));
    const std::optional<uint32_t> greatest = ParseNumber(Trim(bounds.substr(comma + 1)));
    if (!least || !greatest || *least > *greatest) return std::nullopt;
    // The processor's generator: nothing to seed and nothing shared between threads.
    std::random_device device;
    return std::uniform_int_distribution<uint32_t>(*least, *greatest)(device);
}

}  // namespace

uint32_t EvaluateInterval(WideView text, uint32_t& seconds) {
    constexpr WideView opening = u"rand(";
    text = Trim(text);
    const bool isRange = text.starts_with(opening) && text.ends_with(u')');
    const std::optional<uint32_t> result =
        isRange ? Draw(text.substr(opening.size(), text.size() - opening.size() - 1)) : ParseDuration(text);
    if (!result) return InvalidParameter;
    seconds = *result;
    return Success;
}

}  // namespace orrery::prefstore
