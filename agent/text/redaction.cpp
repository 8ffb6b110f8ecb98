#include "agent/text/redaction.h"

#include <algorithm>
#include <cctype>

namespace orrery::agent {

namespace {

constexpr std::string_view hidden = "(hidden)";
constexpr std::string_view blanks = " \t\r\n";

std::string Lower(std::string_view text) {
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return lower;
}

bool IsNameCharacter(unsigned char c) {
    return std::isalnum(c) || c == '_' || c == '-' || c == '.';
}

// How many backslashes stand right before `at`.
size_t BackslashesBefore(std::string_view text, size_t at) {
    size_t count = 0;
    while (count < at && text[at - count - 1] == '\\') ++count;
    return count;
}

// The end of a JSON string, given how many backslashes come before its own quotes: 0, or more in a document
// that is itself the text of a string, 1, 3, 7 with each level. Gives where those before the closing quote
// begin, or the end of the text.
size_t StringEnd(std::string_view text, size_t begin, size_t level) {
    for (size_t at = text.find('"', begin); at != text.npos; at = text.find('"', at + 1)) {
        const size_t count = std::min(BackslashesBefore(text, at), at - begin);
        if (count < level) return at - count;  // the enclosing string ends: this one was cut
        if ((count - level) / (level + 1) % 2 == 0) return at - level;
    }
    return text.size();
}

// The value that begins at `begin`, without its quotes.
std::pair<size_t, size_t> ValueRange(std::string_view text, size_t begin) {
    const size_t quote = std::min(text.find_first_not_of('\\', begin), text.size());
    if (quote < text.size() && text[quote] == '"')
        return {quote + 1, StringEnd(text, quote + 1, quote - begin)};
    const bool nested = quote < text.size() && (text[quote] == '{' || text[quote] == '[');
    const size_t end = text.find_first_of(nested ? "\r\n" : ",;&}]\\\" \t\r\n", begin);
    return {begin, std::min(end, text.size())};
}

// Where the value of the name begins that ends at `nameEnd`, as a member of JSON or a parameter; npos if the
// name is none.
size_t ValueBegin(std::string_view text, size_t nameEnd) {
    if (nameEnd < text.size() && text[nameEnd] == '=') return nameEnd + 1;
    const size_t quote = text.find_first_not_of('\\', nameEnd);
    if (quote == text.npos || text[quote] != '"') return text.npos;
    const size_t colon = text.find_first_not_of(blanks, quote + 1);
    if (colon == text.npos || text[colon] != ':') return text.npos;
    return text.find_first_not_of(blanks, colon + 1);
}

void HideNamed(std::string_view word, std::string& text) {
    const std::string lower = Lower(text);
    std::string result;
    size_t done = 0;
    for (size_t at = lower.find(word); at != lower.npos; at = lower.find(word, at)) {
        at += word.size();
        while (at < text.size() && IsNameCharacter(static_cast<unsigned char>(text[at]))) ++at;
        const size_t value = ValueBegin(text, at);
        if (value == text.npos) continue;
        const auto [begin, end] = ValueRange(text, value);
        result.append(text, done, begin - done).append(hidden);
        at = done = end;
    }
    text = result.append(text, done);
}

// `header` is "name: value".
std::string HideHeader(std::string_view header) {
    const size_t colon = std::min(header.find(':'), header.size());
    const std::string name = Lower(header.substr(0, colon));
    const bool authorizes = name == "authorization" || name == "proxy-authorization";
    if (!authorizes && name != "cookie" && name != "set-cookie") return std::string(header);
    const std::string_view value = header.substr(std::min(colon + 2, header.size()));
    const size_t blank = value.find(' ');
    const bool named = authorizes && blank != value.npos;
    const size_t idEnd = named && value.starts_with("ZWS") ? value.rfind(':') : value.npos;
    const size_t shown = idEnd != value.npos ? idEnd + 1 : named ? blank + 1 : 0;
    return std::string(header.substr(0, colon)).append(": ").append(value.substr(0, shown)).append(hidden);
}

std::string HideHeaders(std::string_view headers) {
    constexpr std::string_view separator = " | ";
    std::string result;
    for (size_t end = headers.find(separator); end != headers.npos; end = headers.find(separator)) {
        result.append(HideHeader(headers.substr(0, end))).append(separator);
        headers.remove_prefix(end + separator.size());
    }
    return result.append(HideHeader(headers));
}

std::string HideInLine(std::string_view line) {
    constexpr std::string_view headers = "Headers=";
    if (line.starts_with(headers)) return std::string(headers) + HideHeaders(line.substr(headers.size()));
    const auto nameEnd = std::ranges::find_if_not(line, IsNameCharacter);
    const bool named = nameEnd != line.end() && *nameEnd == '=';
    const size_t begin = named ? static_cast<size_t>(nameEnd - line.begin()) + 1 : 0;
    return std::string(line.substr(0, begin)) + WithoutUsers(line.substr(begin));
}

}  // namespace

std::string WithoutUsers(std::string_view text) {
    constexpr std::string_view separators = "/;,| \t\r\n\"'\\()<>";
    std::string result;
    for (size_t begin = 0, end = 0; begin <= text.size(); begin = end + 1) {
        end = std::min(text.find_first_of(separators, begin), text.size());
        const std::string_view word = text.substr(begin, end - begin);
        const size_t at = word.rfind('@');
        const bool isUser = at != word.npos && (word.substr(0, at).find(':') != word.npos ||
                                                (begin > 0 && text[begin - 1] == '/'));
        result.append(isUser ? word.substr(at + 1) : word).append(text.substr(end, 1));
    }
    return result;
}

std::string HideSecrets(std::string text) {
    HideNamed("password", text);
    HideNamed("secret", text);
    std::string result;
    std::string_view rest = text;
    for (size_t end = rest.find('\n'); end != rest.npos; end = rest.find('\n')) {
        result.append(HideInLine(rest.substr(0, end))).append("\n");
        rest.remove_prefix(end + 1);
    }
    return result.append(HideInLine(rest));
}

}  // namespace orrery::agent
