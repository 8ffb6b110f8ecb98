#include "foundation/json/document_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <optional>

#include "platform/text.h"

namespace orrery {

namespace {

// The two kinds of bracket differ in one bit, and in no other character's.
constexpr bool IsOpening(const char* at) {
    return (*at | 0x20) == '{';
}
constexpr bool IsClosing(const char* at) {
    return (*at | 0x20) == '}';
}

// These go over every byte of every document, in texts or not. Loops over whole blocks are those that
// compilers turn into vector instructions.

// In how many places `test` holds; the count for a block fits a byte.
template <class Test>
size_t Count(std::string_view text, Test test) {
    constexpr size_t block = 128;
    size_t count = 0;
    size_t at = 0;
    for (; at + block <= text.size(); at += block) {
        unsigned char inBlock = 0;
        for (size_t i = 0; i < block; ++i)
            inBlock = static_cast<unsigned char>(inBlock + test(text.data() + at + i));
        count += inBlock;
    }
    for (; at < text.size(); ++at) count += static_cast<size_t>(test(text.data() + at));
    return count;
}

// Whether `test` holds in a place from `first` on. The last block may overlap the one before.
template <class Test>
bool HoldsAnywhere(std::string_view text, size_t first, Test test) {
    constexpr size_t block = 32;
    const auto holdsIn = [&](size_t from, size_t count) {
        unsigned char holds = 0;
        for (size_t i = 0; i < count; ++i) holds |= static_cast<unsigned char>(test(text.data() + from + i));
        return holds != 0;
    };
    if (text.size() < first + block) return text.size() > first && holdsIn(first, text.size() - first);
    for (size_t at = first; at + block <= text.size(); at += block) {
        if (holdsIn(at, block)) return true;
    }
    return holdsIn(text.size() - block, block);
}

// Most documents are sent without blanks, and none of their brackets closes behind one or behind a comma.
bool MayCloseBehindComma(std::string_view text) {
    return HoldsAnywhere(text, 1, [](const char* at) {
        return IsClosing(at) & ((at[-1] == ',') | (static_cast<unsigned char>(at[-1]) <= ' '));
    });
}

// What a scan over the structure of a text stops at; everything else is passed over at a byte a step.
enum ByteClass : uint8_t { Other = 0, Blank, Comma, Opening, Closing, Quote };

constexpr std::array<ByteClass, 256> ClassTable() {
    std::array<ByteClass, 256> table{};
    table[' '] = table['\t'] = table['\r'] = table['\n'] = Blank;
    table[','] = Comma;
    table['{'] = table['['] = Opening;
    table['}'] = table[']'] = Closing;
    table['"'] = Quote;
    return table;
}

constexpr std::array<ByteClass, 256> byteClasses = ClassTable();

// Whether an odd number of backslashes stands in front of `at`.
bool IsEscaped(const char* begin, const char* at) {
    const char* first = at;
    while (first != begin && first[-1] == '\\') --first;
    return (at - first) % 2 != 0;
}

// Behind the string that begins in front of `begin`.
const char* SkipString(const char* begin, const char* end) {
    const auto nextQuote = [end](const char* from) {
        const void* const quote = std::memchr(from, '"', static_cast<size_t>(end - from));
        return quote ? static_cast<const char*>(quote) : end;
    };
    const char* quote = nextQuote(begin);
    while (quote != end && IsEscaped(begin, quote)) quote = nextQuote(quote + 1);
    return quote == end ? end : quote + 1;
}

// The number of an escape such as \ud83d at the front.
std::optional<uint32_t> EscapedUnit(std::string_view text) {
    uint32_t unit = 0;
    if (!text.starts_with("\\u") || text.size() < 6) return {};
    const char* const end = text.data() + 6;
    if (std::from_chars(text.data() + 2, end, unit, 16).ptr != end) return {};
    return unit;
}

// The pair of escapes at the front as wide text.
std::optional<WideString> EscapedPair(std::string_view text) {
    const auto lead = EscapedUnit(text);
    if (!lead || (*lead & 0xFC00) != 0xD800) return {};
    const auto trail = EscapedUnit(text.substr(6));
    if (!trail || (*trail & 0xFC00) != 0xDC00) return {};
    return WideString{static_cast<char16_t>(*lead), static_cast<char16_t>(*trail)};
}

}  // namespace

bool IsRefused(std::string_view text, size_t mostDepth) {
    const bool mayBeDeep = text.size() > mostDepth && Count(text, IsOpening) > mostDepth;
    if (!mayBeDeep && !MayCloseBehindComma(text)) return false;
    size_t depth = 0;
    bool behindComma = false;
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at != end) {
        const ByteClass byteClass = byteClasses[static_cast<unsigned char>(*at++)];
        if (byteClass == Blank) continue;
        if (byteClass == Closing && behindComma) return true;
        behindComma = byteClass == Comma;
        if (byteClass == Quote) at = SkipString(at, end);
        if (byteClass == Closing && depth > 0) --depth;
        if (byteClass == Opening && ++depth > mostDepth) return true;
    }
    return false;
}

bool HasEscapedSurrogate(std::string_view text) {
    return HoldsAnywhere(
        text, 2, [](const char* at) { return ((*at | 0x20) == 'd') & (at[-1] == 'u') & (at[-2] == '\\'); });
}

std::string WithoutEscapedPairs(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const size_t plain = std::min(text.find('\\'), text.size());
        result += text.substr(0, plain);
        text.remove_prefix(plain);
        const auto pair = EscapedPair(text);
        const size_t taken = pair ? 12 : std::min<size_t>(2, text.size());
        result += pair ? ToUtf8(*pair) : std::string(text.substr(0, taken));
        text.remove_prefix(taken);
    }
    return result;
}

}  // namespace orrery
