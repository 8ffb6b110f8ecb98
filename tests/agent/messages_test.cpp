#include <gmock/gmock.h>

#include "agent/command_line/message_commands.h"
#include "agent/messages/message_files.h"
#include "support/temporary_folder.h"

namespace orrery::agent {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

TEST(Messages, OldFilesGoAndNothingElse) {
    const TemporaryFolder folder;
    const auto now = fs::file_time_type::clock::now();
    for (const char* name : {"old.log", "new.log", "old.txt"}) {
        folder.Write(name, "x");
        fs::last_write_time(folder.PathOf(name), now - 168h + (*name == 'o' ? -1s : 1s));
    }
    fs::create_symlink("old.txt", folder.PathOf("link.log"));
    const auto sinceEpoch = fs::file_time_type::clock::to_sys(now).time_since_epoch();
    RemoveOldMessages(folder.PathOf(""), sinceEpoch / 1ms);
    for (const char* name : {"new.log", "old.txt", "link.log"})
        EXPECT_TRUE(fs::exists(fs::symlink_status(folder.PathOf(name)))) << name;
    EXPECT_FALSE(fs::exists(folder.PathOf("old.log")));
}

TEST(Messages, SecretsAreHiddenAndTheRestIsShown) {
    const std::pair<std::string, std::string> cases[] = {
        {"Headers=Authorization: ZWS2 d:x:hide= | proxy-authorization: Basic hide | Cookie: c",
         "Headers=Authorization: ZWS2 d:x:(hidden) | proxy-authorization: Basic (hidden) | Cookie: (hidden)"},
        {"Proxy=me:hi@de=@p:1;http://me:hide@q", "Proxy=p:1;http://q"},
        {"URL=wss://me:hide@h/a?secret=hide&b=a@b", "URL=wss://h/a?secret=(hidden)&b=a@b"},
        {R"-(Body={"Secret" : "h\"i\\\"de\\","passwords":12,"x":"y@z"})-",
         R"-(Body={"Secret" : "(hidden)","passwords":(hidden),"x":"y@z"})-"},
        {R"-(Body={"list":"{\"user\":\"u\",\"password\":\"h\\\"ide\",\"n\":\"{\\\"Secret\\\":\\\"hide\\\"}\"}"})-",
         R"-(Body={"list":"{\"user\":\"u\",\"password\":\"(hidden)\",\"n\":\"{\\\"Secret\\\":\\\"(hidden)\\\"}\"}"})-"},
        {R"-(Body={"a":"{\"password\":\"hide","b":1,"Password":["hide","hide"]})-",
         R"-(Body={"a":"{\"password\":\"(hidden)","b":1,"Password":(hidden))-"},
        {"Body=\x1B[2J \xC2\x9B \xFF \xE2\x80\xAE \xC3\xA9", "Body=\\x1B[2J \\x9B \uFFFD \\u202E \u00E9"},
    };
    for (const auto& [text, shown] : cases) {
        EXPECT_EQ(MessageView(text), shown + "\n");
        std::string wide;
        for (const char byte : text) wide.append(1, byte).append(1, '\0');
        EXPECT_EQ(MessageView(wide), shown + "\n");
    }
}

}  // namespace
}  // namespace orrery::agent
