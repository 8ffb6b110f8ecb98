#include "standins/tracebox/tracebox.h"

#include <gmock/gmock.h>

#include "standins/tracebox/log_line.h"
#include "support/temporary_folder.h"

namespace orrery::tracebox {
namespace {

TEST(LogLine, FormatsNeverReadPastTheirArgumentsAndOneMessageIsOneLine) {
    struct Case {
        const char* format;
        std::vector<LogArgument> arguments;
        const char* expected;
    };
    const Case cases[] = {
        {"%ws %s %d %u %x 100%%", {u"\u00e9", "narrow", -5, 7u, 255u}, "\u00e9 narrow -5 7 ff 100%"},
        {"%d %x %x", {0x8054820Du, 0x8054820Du, -1}, "2153021965 8054820d ffffffff"},
        {"%d %ws %s %x %s", {"text", 4, u"wide", u"x", static_cast<char*>(nullptr)}, "text 4 wide x NULL"},
        {nullptr, {1}, "NULL"},
        {"%d of %ws, %x", {1}, "1 of %ws, %x"},
        {"%f %w %5d %d %", {1, 2}, "%f %w %5d 1 %"},
        {"%s {} %s", {"%d %s", "{0}"}, "%d %s {} {0}"},
        {"a\n%s|%ws", {"b\r\nc\x1b[2J\x7f", u"\t\u0085\u2028"}, "a\\nb\\r\\nc\\x1b[2J\\x7f|\\t\\x85\\u2028"},
        {"%s|%ws", {"a\xff", u"\xd83d!"}, "a\uFFFD|\uFFFD!"},
    };
    for (const Case& item : cases) EXPECT_EQ(FormatLine(item.format, item.arguments), item.expected);
}

TEST(TraceboxTest, FilesRotateAndStayPrivate) {
    TemporaryFolder folder;
    folder.Write("agent.log", "from an earlier version, readable for all\n");
    Tracebox tracebox(folder.PathOf("agent.log"), false);
    const std::string text(64 * 1024, 'x');
    for (size_t written = 0; written < 4 * maxFileSize; written += text.size()) {
        tracebox.Log(LogInformation, "%s", text);
    }
    for (const char* file : {"agent.log", "agent.1.log", "agent.2.log"}) {
        EXPECT_EQ(std::filesystem::status(folder.PathOf(file)).permissions(), std::filesystem::perms(0600));
        EXPECT_LE(folder.Read(file).size(), maxFileSize) << file;
    }
    EXPECT_FALSE(std::filesystem::exists(folder.PathOf("agent.3.log")));
    Tracebox(folder.PathOf("agent.log/no.log"), false).Log(LogError, "without a file: no harm");
}

}  // namespace
}  // namespace orrery::tracebox
