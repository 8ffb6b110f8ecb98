#include "platform/registry.h"

#include <gtest/gtest.h>

#include "platform/temporary_folder.h"
#include "platform/text.h"

namespace orrery::platform {
namespace {

constexpr const char* contents =
    "\xEF\xBB\xBFREGEDIT4\r\n"
    "; \"Path\"=\"comment\"\r\n"
    "\"Path\"=\"outside of any section\"\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Agent]\r\n"
    "\"Path\"=\"C:\\\\Agent \\\"x\\\" ; \xC3\xA4\\\\\"\r\n"
    "\"Number\"=dword:0000001f ; comment\r\n"
    "  \"Loose\" = \"a\" \r\n"
    "\"Quote \\\" in name\"=\"b\"\r\n"
    "\"Open\"=\"never closed\r\n"
    "\"Trailing\"=\"x\"y\r\n"
    "\"TooLarge\"=dword:1ffffffff\r\n"
    "\"Bytes\"=hex:01,02,\\\r\n"
    "  03\r\n"
    "\"Twice\"=\"first\"\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Agent\\Below]\n"
    "\"Below\"=\"c\"\n"
    "[HKEY_CURRENT_USER\\SOFTWARE\\Agent]\n"
    "\"User\"=\"d\"\n"
    "[hkey_local_machine\\software\\agent]\n"
    "\"Twice\"=\"second\"\n"
    "[HKEY_LOCAL_MACHINE\\broken\n"
    "\"Broken\"=\"e\"\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Agent]\n"
    "\"Last\"=\"no line end\"";

class Registry : public testing::Test {
  protected:
    Registry() {
        folder.SetEnvironment("ORRERY_REGISTRY", folder.PathOf("registry.reg"));
        folder.Write("registry.reg", contents);
    }

    static std::string Text(WideView name) {
        WideString value = u"(missing)";
        ReadRegistryText(u"Software\\AGENT", WideString(name), value);
        return ToUtf8(value);
    }

    TemporaryFolder folder;
};

TEST_F(Registry, ReadsTexts) {
    EXPECT_EQ(Text(u"pATH"), "C:\\Agent \"x\" ; \xC3\xA4\\");
    EXPECT_EQ(Text(u"Loose"), "a");
    EXPECT_EQ(Text(u"Quote \" in name"), "b");
    EXPECT_EQ(Text(u"Twice"), "second");
    EXPECT_EQ(Text(u"Last"), "no line end");
    for (const auto* name : {u"Number", u"Open", u"Trailing", u"Bytes", u"Below", u"User", u"Broken"}) {
        EXPECT_EQ(Text(name), "(missing)") << ToUtf8(name);
    }
}

TEST_F(Registry, ReadsNumbers) {
    uint32_t value = 7;
    for (const char16_t* name : {u"Path", u"TooLarge", u"None"}) {
        EXPECT_FALSE(ReadRegistryNumber(u"SOFTWARE\\Agent", name, value)) << ToUtf8(name);
    }
    EXPECT_EQ(value, 7u);
    EXPECT_TRUE(ReadRegistryNumber(u"SOFTWARE\\Agent", u"number", value));
    EXPECT_EQ(value, 0x1Fu);
}

TEST_F(Registry, FollowsTheFileAndBearsItsAbsence) {
    folder.Write("registry.reg", "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Agent]\n\"Path\"=\"new\"\n");
    EXPECT_EQ(Text(u"Path"), "new");
    for (const auto& path : {folder.PathOf("missing"), folder.PathOf("")}) {
        folder.SetEnvironment("ORRERY_REGISTRY", path);
        EXPECT_EQ(Text(u"Path"), "(missing)") << path;
    }
}

}  // namespace
}  // namespace orrery::platform
