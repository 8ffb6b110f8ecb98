#include "platform/files.h"

#include <gtest/gtest.h>

#include "platform/temporary_folder.h"

namespace orrery::platform {
namespace {

using std::filesystem::perms;

perms ModeOf(const std::string& path) {
    return std::filesystem::status(path).permissions();
}

TEST(Files, FoldersAndFilesAreTheOwnersAlone) {
    const TemporaryFolder folder;
    const WideString made = WidePath(folder.PathOf("made")) + u"\\";
    const WideString file = made + u"\u00E4.txt";
    EXPECT_FALSE(CreateFolder(made + u"two levels\\"));
    EXPECT_FALSE(AppendToFile(file, "x"));
    EXPECT_FALSE(WriteNewFile(file, "x"));
    ASSERT_TRUE(CreateFolder(made));
    EXPECT_FALSE(CreateFolder(made));
    EXPECT_FALSE(AppendToFile(file, "x"));
    EXPECT_FALSE(PathExists(file));

    EXPECT_TRUE(WriteNewFile(file, "a longer text"));
    EXPECT_TRUE(WriteNewFile(file, "one"));
    EXPECT_TRUE(AppendToFile(file, "two"));
    EXPECT_TRUE(PathExists(file));
    EXPECT_EQ(folder.Read("made/\xC3\xA4.txt"), "onetwo");
    EXPECT_EQ(ModeOf(NativePath(made)), perms::owner_all);
    EXPECT_EQ(ModeOf(NativePath(file)), perms::owner_read | perms::owner_write);
}

}  // namespace
}  // namespace orrery::platform
