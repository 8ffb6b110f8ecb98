// What of the platform works on files: files themselves and the registry.
#include "platform/files.h"

#include <gmock/gmock.h>

#include "platform/registry.h"
#include "platform/text.h"
#include "support/temporary_folder.h"

namespace orrery::platform {
namespace {

using std::filesystem::perms;

perms ModeOf(const WideString& path) {
    return std::filesystem::status(NativePath(path)).permissions();
}

TEST(Files, FoldersAndFilesAreTheOwnersAlone) {
    const TemporaryFolder folder;
    const WideString made = WidePath(folder.PathOf("made")) + u"\\";
    const WideString file = made + u"\u00E4.txt";
    EXPECT_FALSE(WriteNewFile(file, "x"));
    ASSERT_TRUE(CreateFolder(made));
    EXPECT_FALSE(CreateFolder(made));
    EXPECT_FALSE(AppendToFile(file, "x"));
    EXPECT_TRUE(WriteNewFile(file, "a longer text"));
    EXPECT_TRUE(WriteNewFile(file, "one"));
    EXPECT_TRUE(AppendToFile(file, "two"));
    EXPECT_EQ(folder.Read("made/\xC3\xA4.txt"), "onetwo");
    EXPECT_EQ(ModeOf(made), perms::owner_all);
    EXPECT_EQ(ModeOf(file), perms::owner_read | perms::owner_write);
}

constexpr const char* contents =
    "\xEF\xBB\xBFREGEDIT4\r\n"
    "\"Path\"=\"outside of any section\"\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Agent]\r\n"
    "\"Path\"=\"C:\\\\Agent \\\"x\\\" ; \xC3\xA4\\\\\"\r\n"
    "\"Number\"=dword:0000001f ; comment\r\n"
    "\"Trailing\"=\"x\"y\r\n"
    "\"TooLarge\"=dword:1ffffffff\r\n"
    "[HKEY_CURRENT_USER\\SOFTWARE\\Agent]\n"
    "\"User\"=\"d\"\n"
    "[hkey_local_machine\\software\\agent]\n"
    "\"Twice\"=\"second\"\n"
    "[HKEY_LOCAL_MACHINE\\broken\n"
    "\"Broken\"=\"e\"\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Agent]\n"
    "\"Last\"=\"no line end\"";

TEST(Registry, ReadsWhatIsWellFormedAndFollowsTheFile) {
    TemporaryFolder folder;
    folder.SetEnvironment("ORRERY_REGISTRY", folder.PathOf("registry.reg"));
    folder.Write("registry.reg", contents);
    const auto text = [](const WideString& name) {
        WideString value = u"(missing)";
        ReadRegistryText(u"Software\\AGENT", name, value);
        return ToUtf8(value);
    };
    EXPECT_EQ(text(u"pATH"), "C:\\Agent \"x\" ; \xC3\xA4\\");
    EXPECT_EQ(text(u"Twice"), "second");
    EXPECT_EQ(text(u"Last"), "no line end");
    for (const auto* name : {u"Number", u"Trailing", u"User", u"Broken"}) {
        EXPECT_EQ(text(name), "(missing)") << ToUtf8(name);
    }
    uint32_t value = 7;
    EXPECT_FALSE(ReadRegistryNumber(u"SOFTWARE\\Agent", u"TooLarge", value));
    EXPECT_EQ(value, 7u);
    EXPECT_TRUE(ReadRegistryNumber(u"SOFTWARE\\Agent", u"number", value));
    EXPECT_EQ(value, 0x1Fu);

    folder.Write("registry.reg", "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Agent]\n\"Path\"=\"new\"\n");
    EXPECT_EQ(text(u"Path"), "new");
    folder.SetEnvironment("ORRERY_REGISTRY", folder.PathOf("missing"));
    EXPECT_EQ(text(u"Path"), "(missing)");
}

}  // namespace
}  // namespace orrery::platform
