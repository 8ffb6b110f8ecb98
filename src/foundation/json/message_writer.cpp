#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <string_view>

#include "foundation/json/message_object.h"

namespace orrery {

namespace {

// A text that grows at its end, with room for what most messages are.
template <class Text>
class Buffer {
  public:
    // Where `count` more units are to be written.
    auto* Grow(size_t count) {
        if (count > text.size() - used) text.resize(std::max(used + count, 2 * text.size()));
        used += count;
        return text.data() + used - count;
    }
    void Shrink(size_t count) { used -= count; }
    Text Take() {
        text.resize(used);
        return std::move(text);
    }

  private:
    Text text = Text(250, {});
    size_t used = 0;
};

// Where the text goes. Both forms are written by one algorithm; UTF-8 is not made from the wide form, which
// for a large document would cost as much again.
class WideSink {
  public:
    void Ascii(std::string_view text) { std::copy(text.begin(), text.end(), out.Grow(text.size())); }
    void Text(WideView text) { text.copy(out.Grow(text.size()), text.size()); }

    Buffer<WideString> out;
};

class Utf8Sink {
  public:
    void Ascii(std::string_view text) { text.copy(out.Grow(text.size()), text.size()); }

    // Most text is ASCII throughout, and is copied in one loop without branches.
    void Text(WideView text) {
        char* const to = out.Grow(text.size());
        char16_t all = 0;
        for (size_t i = 0; i < text.size(); ++i) {
            to[i] = static_cast<char>(text[i]);
            all |= text[i];
        }
        if (all < 0x80) return;
        out.Shrink(text.size());
        Mixed(text);
    }

    Buffer<std::string> out;
    bool complete = true;

  private:
    // Runs of either kind; a surrogate pair lies in one run.
    void Mixed(WideView text) {
        while (!text.empty()) {
            const bool ascii = text.front() < 0x80;
            size_t end = 1;
            while (end < text.size() && (text[end] < 0x80) == ascii) ++end;
            if (ascii) {
                Text(text.substr(0, end));
            } else {
                std::string converted;
                complete &= WideToUtf8(text.substr(0, end), converted);
                Ascii(converted);
            }
            text.remove_prefix(end);
        }
    }
};

// Only four characters are escaped; every other one is written raw.
constexpr std::string_view EscapeOf(char16_t unit) {
    switch (unit) {
        case u'\\':
            return "\\\\";
        case u'"':
            return "\\\"";
        case u'\r':
            return "\\r";
        case u'\n':
            return "\\n";
        default:
            return {};
    }
}

constexpr bool NeedsEscape(char16_t unit) {
    return !EscapeOf(unit).empty();
}

// Where the next character to escape stands, from `at` on. Loops over whole blocks are those that compilers
// turn into vector instructions.
size_t FindEscape(WideView text, size_t at) {
    constexpr size_t block = 16;
    for (; at + block <= text.size(); at += block) {
        uint16_t found = 0;
        for (size_t i = 0; i < block; ++i) {
            for (const char16_t escaped : {u'\\', u'"', u'\r', u'\n'})
                found |= static_cast<uint16_t>(-(text[at + i] == escaped));
        }
        if (found != 0) break;
    }
    while (at < text.size() && !NeedsEscape(text[at])) ++at;
    return at;
}

template <class Sink>
class MessageWriter {
  public:
    explicit MessageWriter(Sink& sink) : sink(sink) {}

    bool Write(const CMessageObject& object) {
        WriteKey(object.name);
        sink.Ascii(object.isArray ? "[" : "{");
        bool first = true;
        for (const CMessageItem& item : object.items) {
            if (!first) sink.Ascii(",");
            first = false;
            if (!Write(item)) return false;
        }
        sink.Ascii(object.isArray ? "]" : "}");
        return true;
    }

    bool Write(const CMessageItem& item) {
        if (item.kind != KindObject) WriteKey(item.name);
        switch (item.kind) {
            case KindInteger:
                WriteInteger(item);
                return true;
            case KindDouble:
                return WriteDouble(item.value.number);
            case KindBoolean:
                sink.Ascii(item.value.boolean ? "true" : "false");
                return true;
            case KindString:
                WriteString(item.text);
                return true;
            case KindObject:
                return Write(*item.value.object);  // it writes the key itself
            case KindNull:
                sink.Ascii("null");
                return true;
            default:
                return false;
        }
    }

  private:
    void WriteKey(const WideString& key) {
        if (key.empty()) return;
        sink.Ascii("\"");
        sink.Text(key);  // never escaped
        sink.Ascii("\":");
    }

    void WriteString(WideView text) {
        sink.Ascii("\"");
        for (size_t at = 0;;) {
            const size_t end = FindEscape(text, at);
            sink.Text(text.substr(at, end - at));
            if (end == text.size()) break;
            sink.Ascii(EscapeOf(text[end]));
            at = end + 1;
        }
        sink.Ascii("\"");
    }

    void WriteInteger(const CMessageItem& item) {
        char digits[24];
        const auto end = item.isUnsigned
                             ? std::to_chars(std::begin(digits), std::end(digits),
                                             static_cast<uint64_t>(item.value.integer))
                             : std::to_chars(std::begin(digits), std::end(digits), item.value.integer);
        sink.Ascii({digits, static_cast<size_t>(end.ptr - digits)});
    }

    // Fixed notation with six digits behind the point; a number that isn't finite has no form in JSON.
    bool WriteDouble(double number) {
        if (!std::isfinite(number)) return false;
        char digits[400];
        const auto end =
            std::to_chars(std::begin(digits), std::end(digits), number, std::chars_format::fixed, 6);
        sink.Ascii({digits, static_cast<size_t>(end.ptr - digits)});
        return true;
    }

    Sink& sink;
};

template <class Message>
bool WriteWide(const Message& message, WideString& out) {
    WideSink sink;
    if (!MessageWriter(sink).Write(message)) return false;
    out = sink.out.Take();
    return true;
}

// As the conversion of the whole text would: it ends at the first NUL.
template <class Message>
bool WriteUtf8(const Message& message, std::string& out) {
    Utf8Sink sink;
    if (!MessageWriter(sink).Write(message) || !sink.complete) return false;
    out = sink.out.Take();
    out.resize(std::min(out.find('\0'), out.size()));
    return true;
}

}  // namespace

bool CMessageObject::IsWritable() const {
    return std::all_of(items.begin(), items.end(), [](const CMessageItem& item) {
        if (item.kind == KindObject) return item.value.object->IsWritable();
        if (item.kind == KindDouble) return std::isfinite(item.value.number);
        return item.kind >= KindInteger && item.kind <= KindNull;
    });
}

bool CMessageItem::Serialize(WideString& out) const {
    return WriteWide(*this, out) && !out.empty();
}

bool CMessageItem::SerializeUtf8(std::string& out) const {
    return WriteUtf8(*this, out) && !out.empty();
}

bool CMessageObject::Serialize(WideString& out) const {
    out.clear();
    return WriteWide(*this, out);
}

bool CMessageObject::SerializeUtf8(std::string& out) const {
    out.clear();
    return WriteUtf8(*this, out);
}

}  // namespace orrery
