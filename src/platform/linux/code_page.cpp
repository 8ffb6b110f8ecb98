#include "platform/linux/code_page.h"

#include <iconv.h>

#include <array>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstring>

namespace orrery::platform {

namespace {

// The machine's own UTF-16, without a byte-order mark.
constexpr const char* wideSet = std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";

// One conversion by iconv. It opens a descriptor of its own, since a descriptor bears state.
class Conversion {
  public:
    Conversion(const char* to, const char* from) : descriptor(::iconv_open(to, from)) {}
    ~Conversion() {
        if (IsOpen()) ::iconv_close(descriptor);
    }
    Conversion(const Conversion&) = delete;
    Conversion& operator=(const Conversion&) = delete;

    // iconv_open gives -1, not null, on failure.
    bool IsOpen() const { return std::bit_cast<intptr_t>(descriptor) != -1; }

    // Converts the front of `in` up to its end or up to what can't be converted, which stays in `in`.
    void Run(std::string_view& in, std::string& out) {
        // The C library's signature lacks a const; iconv doesn't write through it.
        char* from = const_cast<char*>(in.data());
        size_t left = in.size();
        while (Step(&from, &left, out)) {
        }
        in.remove_prefix(in.size() - left);
    }
    // Ends a page with shift states in its first state.
    void Finish(std::string& out) { Step(nullptr, nullptr, out); }

  private:
    // True if there was only too little room.
    bool Step(char** from, size_t* left, std::string& out) {
        std::array<char, 4096> buffer;
        char* to = buffer.data();
        size_t room = buffer.size();
        const bool failed = ::iconv(descriptor, from, left, &to, &room) == static_cast<size_t>(-1);
        const bool isFull = failed && errno == E2BIG;
        out.append(buffer.data(), to);
        return isFull;
    }

    const iconv_t descriptor;
};

std::string_view BytesOf(WideView text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t)};
}

WideString WideOf(const std::string& bytes) {
    WideString text(bytes.size() / sizeof(char16_t), u'\0');
    std::memcpy(text.data(), bytes.data(), BytesOf(text).size());
    return text;
}

// Code units of the character at the front of `text`, malformed or not.
size_t FirstCharacter(WideView text) {
    const auto isLead = [](char16_t unit) { return (unit & 0xFC00) == 0xD800; };
    const auto isTrail = [](char16_t unit) { return (unit & 0xFC00) == 0xDC00; };
    return text.size() > 1 && isLead(text[0]) && isTrail(text[1]) ? 2 : 1;
}

}  // namespace

bool CodePage::FromWide(WideView in, std::string& out) const {
    Conversion conversion(characterSet.c_str(), wideSet);
    if (!conversion.IsOpen()) return false;
    std::string result;
    std::string_view rest = BytesOf(in);
    while (!rest.empty()) {
        conversion.Run(rest, result);
        if (rest.empty()) break;
        std::string_view questionMark = BytesOf(u"?");
        conversion.Run(questionMark, result);
        rest.remove_prefix(FirstCharacter(in.substr(in.size() - rest.size() / sizeof(char16_t))) *
                           sizeof(char16_t));
    }
    conversion.Finish(result);
    out = std::move(result);
    return true;
}

bool CodePage::ToWide(std::string_view in, WideString& out) const {
    Conversion conversion(wideSet, characterSet.c_str());
    if (!conversion.IsOpen()) return false;
    std::string result;
    while (!in.empty()) {
        conversion.Run(in, result);
        if (in.empty()) break;
        result += BytesOf(u"\uFFFD");
        in.remove_prefix(1);
    }
    out = WideOf(result);
    return true;
}

}  // namespace orrery::platform
