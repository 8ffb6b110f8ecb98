#include "platform/text.h"

#include <langinfo.h>
#include <locale.h>
#include <utf8.h>
#include <wctype.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <new>

#include "platform/linux/code_page.h"

namespace orrery {

namespace {

constexpr char32_t replacement = 0xFFFD;

template <class Unit>
std::basic_string_view<Unit> UpToNul(std::basic_string_view<Unit> text) {
    return text.substr(0, text.find(Unit()));
}

constexpr bool IsAscii(char16_t unit) {
    return unit < 0x80;
}
constexpr bool IsAscii(char byte) {
    return static_cast<signed char>(byte) >= 0;
}

// Copies the ASCII text at the front and moves both pointers behind it. Most text is ASCII throughout, and
// loops over whole blocks are those that compilers turn into vector instructions.
template <class From, class To>
void TakeAscii(const From*& at, const From* end, To*& to) {
    constexpr std::ptrdiff_t block = 16;
    for (; end - at >= block; at += block, to += block) {
        From all = 0;
        for (std::ptrdiff_t i = 0; i < block; ++i) all = static_cast<From>(all | at[i]);
        if (!IsAscii(all)) break;
        for (std::ptrdiff_t i = 0; i < block; ++i) to[i] = static_cast<To>(at[i]);
    }
    while (at != end && IsAscii(*at)) *to++ = static_cast<To>(*at++);
}

constexpr bool IsLead(char16_t unit) {
    return (unit & 0xFC00) == 0xD800;
}
constexpr bool IsTrail(char16_t unit) {
    return (unit & 0xFC00) == 0xDC00;
}
constexpr bool IsSurrogate(char16_t unit) {
    return (unit & 0xF800) == 0xD800;
}

char32_t TakeCodePoint(const char16_t*& at, const char16_t* end) {
    const char16_t unit = *at++;
    if (!IsSurrogate(unit)) return unit;
    if (!IsLead(unit) || at == end || !IsTrail(*at)) return replacement;
    return 0x10000 + ((unit & 0x3FFu) << 10) + (*at++ & 0x3FFu);
}

// Bytes of the UTF-8 form; two too many for each surrogate pair.
size_t MostBytes(WideView text) {
    size_t bytes = text.size();
    for (const char16_t unit : text) bytes += size_t{unit >= 0x80} + size_t{unit >= 0x800};
    return bytes;
}

std::string Encode(WideView in) {
    std::string result(in.size(), '\0');
    char* to = result.data();
    const char16_t* at = in.data();
    const char16_t* const end = at + in.size();
    TakeAscii(at, end, to);
    const auto done = static_cast<size_t>(to - result.data());
    if (at != end) result.resize(done + MostBytes(in.substr(done)));
    to = result.data() + done;
    while (at != end) {
        to = utf8::unchecked::append(TakeCodePoint(at, end), to);
        TakeAscii(at, end, to);
    }
    result.resize(static_cast<size_t>(to - result.data()));
    return result;
}

// `run` is all beyond ASCII, so no well-formed sequence crosses its ends.
char16_t* DecodeRun(std::string_view run, char16_t* to) {
    if (utf8::is_valid(run.begin(), run.end())) return utf8::unchecked::utf8to16(run.begin(), run.end(), to);
    std::string repaired;
    utf8::replace_invalid(run.begin(), run.end(), std::back_inserter(repaired), replacement);
    return utf8::unchecked::utf8to16(repaired.begin(), repaired.end(), to);
}

WideString Decode(std::string_view in) {
    WideString result(in.size(), u'\0');  // no byte gives more than one code unit
    char16_t* to = result.data();
    const char* const end = in.data() + in.size();
    for (const char* at = in.data(); at != end;) {
        TakeAscii(at, end, to);
        const char* const run = at;
        while (at != end && !IsAscii(*at)) ++at;
        to = DecodeRun({run, static_cast<size_t>(at - run)}, to);
    }
    result.resize(static_cast<size_t>(to - result.data()));
    return result;
}

// Converts what is ASCII without a NUL, the most frequent text by far, in one loop without branches. False
// for any other; `out` is then untouched.
template <class From, class To>
bool ConvertPlain(std::basic_string_view<From> in, std::basic_string<To>& out) {
    using Bits = std::make_unsigned_t<std::conditional_t<sizeof(From) == 1, char, int16_t>>;
    std::basic_string<To> result(in.size(), To());
    To* const to = result.data();
    Bits all = 0;
    Bits nul = 0;
    for (size_t i = 0; i < in.size(); ++i) {
        to[i] = static_cast<To>(in[i]);
        all = static_cast<Bits>(all | in[i]);
        nul = static_cast<Bits>(nul | (in[i] == 0));
    }
    if (all >= 0x80 || nul != 0) return false;
    out = std::move(result);
    return true;
}

// The character set of the locale that the environment names; empty if it is UTF-8 or names none. Asked of a
// locale object of our own: the process's locale belongs to the host.
std::string LocaleCharacterSet() {
    const locale_t locale = ::newlocale(LC_CTYPE_MASK, "", locale_t());
    if (!locale) return {};
    std::string name = ::nl_langinfo_l(CODESET, locale);
    ::freelocale(locale);
    constexpr std::string_view unnamed = "ANSI_X3.4-1968";  // what the locale "C" says
    return name == "UTF-8" || name == unnamed ? std::string() : name;
}

// Null if it is UTF-8. Settled at the first use, like the system's own.
const platform::CodePage* AnsiPage() {
    static const std::string characterSet = LocaleCharacterSet();
    static const platform::CodePage page(characterSet);
    return characterSet.empty() ? nullptr : &page;
}

// The table of the C library, which is Unicode's in every locale of UTF-8. Without this locale only ASCII
// letters have two cases.
struct LetterCases {
    ~LetterCases() {
        if (locale) ::freelocale(locale);
    }
    const locale_t locale = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t());
};

char16_t ToLower(char16_t unit) {
    if (unit < 0x80) return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit | 0x20) : unit;
    static const LetterCases cases;
    return cases.locale ? static_cast<char16_t>(::towlower_l(unit, cases.locale)) : unit;
}

}  // namespace

bool WideToUtf8(WideView in, std::string& out) try {
    if (!ConvertPlain(in, out)) out = Encode(UpToNul(in));
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

bool Utf8ToWide(std::string_view in, WideString& out) try {
    if (!ConvertPlain(in, out)) out = Decode(UpToNul(in));
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

bool WideToAnsi(WideView in, std::string& out) try {
    const platform::CodePage* const page = AnsiPage();
    return page ? page->FromWide(UpToNul(in), out) : WideToUtf8(in, out);
} catch (const std::bad_alloc&) {
    return false;
}

bool AnsiToWide(std::string_view in, WideString& out) try {
    const platform::CodePage* const page = AnsiPage();
    return page ? page->ToWide(UpToNul(in), out) : Utf8ToWide(in, out);
} catch (const std::bad_alloc&) {
    return false;
}

std::string ToUtf8(WideView in) {
    std::string out;
    WideToUtf8(in, out);
    return out;
}

WideString ToWide(std::string_view in) {
    WideString out;
    Utf8ToWide(in, out);
    return out;
}

bool EqualNoCase(WideView left, WideView right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char16_t one, char16_t other) { return ToLower(one) == ToLower(other); });
}

}  // namespace orrery
