#include "standins/wirelink/http/http_headers.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <cstdio>

#include "platform/clock.h"

namespace orrery::wirelink {
namespace {

constexpr char letters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
constexpr char tokenMarks[] = "!#$%&'*+-.^_`|~0123456789";

auto HasName(const std::string& name) {
    return [&name](const auto& header) { return curl_strequal(header.first.c_str(), name.c_str()) != 0; };
}

}  // namespace

std::string_view TrimmedValue(std::string_view text) {
    constexpr char blanks[] = " \t\r\n";
    const size_t begin = text.find_first_not_of(blanks);
    if (begin == text.npos) return {};
    return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

bool IsToken(std::string_view text) {
    static const std::string allowed = std::string(letters) + tokenMarks;
    return !text.empty() && text.find_first_not_of(allowed) == text.npos;
}

bool AddHeader(HeaderList& headers, const std::string& name, std::string_view value) {
    constexpr std::string_view lineEnds("\r\n\0", 3);
    if (!IsToken(name) || value.find_first_of(lineEnds) != value.npos) return false;
    headers.emplace_back(name, TrimmedValue(value));
    return true;
}

bool ReplaceHeader(HeaderList& headers, const std::string& name, std::string_view value) {
    const auto given = std::find_if(headers.begin(), headers.end(), HasName(name));
    const std::string kept = given == headers.end() ? name : given->first;
    std::erase_if(headers, HasName(name));
    return AddHeader(headers, kept, value);
}

const std::string* FindHeader(const HeaderList& headers, const std::string& name) {
    const auto found = std::find_if(headers.begin(), headers.end(), HasName(name));
    return found == headers.end() ? nullptr : &found->second;
}

std::string HeaderLines(const HeaderList& headers) {
    std::string lines;
    for (const auto& [name, value] : headers) lines += name + ": " + value + "\r\n";
    return lines;
}

std::vector<std::string> ListElements(std::string_view value) {
    std::vector<std::string> elements;
    while (!value.empty()) {
        const std::string_view piece = value.substr(0, value.find(','));
        value.remove_prefix(std::min(piece.size() + 1, value.size()));
        if (const std::string_view element = TrimmedValue(piece); !element.empty())
            elements.emplace_back(element);
    }
    return elements;
}

bool IsKnownEncoding(const std::string& name) {
    return curl_strequal(name.c_str(), "gzip") || curl_strequal(name.c_str(), "deflate");
}

std::string KnownEncodings(std::string_view accepted) {
    std::string known;
    for (const std::string& element : ListElements(accepted)) {
        const std::string name(TrimmedValue(std::string_view(element).substr(0, element.find(';'))));
        if (IsKnownEncoding(name)) known += (known.empty() ? "" : ", ") + name;
    }
    return known;
}

CalendarTime ReadDate(const std::string& text) {
    constexpr int64_t secondsTo1970 = 11'644'473'600;
    const time_t seconds = curl_getdate(text.c_str(), nullptr);
    CalendarTime date;
    if (seconds != -1) platform::CalendarOf((seconds + secondsTo1970) * platform::ticksPerSecond, date);
    return date;
}

std::string TimestampText(const CalendarTime& time) {
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%04u-%02u-%02uT%02u:%02u:%02u.%03uZ", time.year, time.month,
                  time.day, time.hour, time.minute, time.second, time.milliseconds);
    return text.data();
}

}  // namespace orrery::wirelink
