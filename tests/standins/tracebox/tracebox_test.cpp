#include "standins/tracebox/tracebox.h"

#include <gtest/gtest.h>

#include "standins/tracebox/log_line.h"
#include "support/temporary_folder.h"

namespace orrery::tracebox {
namespace {

TEST(LogLine, FormatsNeverReadPastTheirArgumentsAndOneMessageIsOneLine) {
    const std::tuple<const char*, std::vector<LogArgument>, const char*> cases[] = {
        {"%ws %s %u %x 100%%", {u"\u00e9", "narrow", 7u, 255u}, "\u00e9 narrow 7 ff 100%"},
        {"%d %x %x", {0x8054820Du, 0x8054820Du, -1}, "2153021965 8054820d ffffffff"},
        {"%d %ws %s %s", {"text", 4, u"wide", static_cast<char*>(nullptr)}, "text 4 wide NULL"},
        {"%d of %ws, %f %5d %", {1}, "1 of %ws, %f %5d %"},
        {"%s {} %s", {"%d %s", "{0}"}, "%d %s {} {0}"},
        {"a\n%s|%ws",
         {"b\r\xff\x1b[2J\x7f", u"\t\u2028\xd83d!"},
         "a\\nb\\r\uFFFD\\x1b[2J\\x7f|\\t\\u2028\uFFFD!"},
    };
    for (const auto& [format, arguments, expected] : cases)
        EXPECT_EQ(FormatLine(format, arguments), expected);
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
