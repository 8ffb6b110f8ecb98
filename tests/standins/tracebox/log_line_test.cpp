#include "standins/tracebox/log_line.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace orrery::tracebox {
namespace {

struct LineCase {
    const char* name;
    const char* format;
    std::vector<LogArgument> arguments;
    const char* expected;
};

class LogLine : public testing::TestWithParam<LineCase> {};

TEST_P(LogLine, IsWritten) {
    EXPECT_EQ(FormatLine(GetParam().format, GetParam().arguments), GetParam().expected);
}

const char* const noText = nullptr;
const char16_t* const noWideText = nullptr;

const LineCase lineCases[] = {
    {"EveryDirective",
     "%ws %s %d %u %x 100%%",
     {u"wide \u00e9", "narrow", -5, 7u, 255u},
     "wide \u00e9 narrow -5 7 ff 100%"},
    {"ResultCodes", "%d %x %x", {0x8054820Du, 0x8054820Du, -1}, "2153021965 8054820d ffffffff"},
    {"NumbersOf64Bits",
     "%d %u %x",
     {INT64_MIN, UINT64_MAX, INT64_MIN},
     "-9223372036854775808 18446744073709551615 8000000000000000"},
    {"WrongKinds", "%d %ws %s %x %u", {"text", 4, u"wide", u"x", -1}, "text 4 wide x -1"},
    {"NullTexts", "%s %ws", {noText, noWideText}, "NULL NULL"},
    {"NullFormat", nullptr, {1}, "NULL"},
    {"MissingArgumentsStandForThemselves", "%d of %ws, %x", {1}, "1 of %ws, %x"},
    {"SurplusArgumentsAreIgnored", "one", {1, 2}, "one"},
    {"UnknownDirectivesTakeNothing", "%f %w %5d %d %", {1}, "%f %w %5d 1 %"},
    {"ArgumentsAreNoFormats", "%s {} %s", {"%d %s", "{0}"}, "%d %s {} {0}"},
    {"OneMessageIsOneLine",
     "a\n%s|%ws",
     {"b\r\nc\x1b[2J\x7f", u"\t\u0085\u009b\u2028"},
     "a\\nb\\r\\nc\\x1b[2J\\x7f|\\t\\x85\\x9b\\u2028"},
    {"MalformedTexts", "%s|%ws", {"a\xff", u"\xd83d!"}, "a\uFFFD|\uFFFD!"},
};

INSTANTIATE_TEST_SUITE_P(, LogLine, testing::ValuesIn(lineCases),
                         [](const auto& entry) { return std::string(entry.param.name); });

}  // namespace
}  // namespace orrery::tracebox
