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

// The front of `text`, of `size` code units or one more: no surrogate pair is cut.
WideView Front(WideView text, size_t size) {
    const auto isLead = [](char16_t unit) { return (unit & 0xFC00) == 0xD800; };
    const auto isTrail = [](char16_t unit) { return (unit & 0xFC00) == 0xDC00; };
    const bool cutsPair = size < text.size() && isLead(text[size - 1]) && isTrail(text[size]);
    return text.substr(0, cutsPair ? size + 1 : size);
}

}  // namespace

bool CodePage::FromWide(WideView in, std::string& out) const {
    Conversion conversion(characterSet.c_str(), wideSet);
    if (!conversion.IsOpen()) return false;
    std::string result;
    // iconv goes over thousands of characters before it tells that it lacks the first of them. So it is given
    // few behind such a one, and more again as long as it has them.
    size_t size = in.size();
    while (!in.empty()) {
        std::string_view piece = BytesOf(Front(in, size));
        const size_t given = piece.size();
        conversion.Run(piece, result);
        in.remove_prefix((given - piece.size()) / sizeof(char16_t));
        size *= 2;
        if (piece.empty()) continue;
        std::string_view questionMark = BytesOf(u"?");
        conversion.Run(questionMark, result);
        in.remove_prefix(Front(in, 1).size());
        size = 1;
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
