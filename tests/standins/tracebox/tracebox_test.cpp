#include "standins/tracebox/tracebox.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "platform/files.h"
#include "platform/library.h"
#include "platform/temporary_folder.h"

namespace orrery::tracebox {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

mode_t ModeOf(const std::string& file) {
    struct stat status {};
    return stat(file.c_str(), &status) == 0 ? status.st_mode & 0777 : 0;
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
        EXPECT_EQ(ModeOf(folder.PathOf(file)), 0600u) << file;
        EXPECT_LE(folder.Read(file).size(), maxFileSize) << file;
    }
    EXPECT_EQ(ModeOf(folder.PathOf("agent.3.log")), 0u);
}

TEST(TraceboxTest, WorksWithoutItsFile) {
    TemporaryFolder folder;
    folder.Write("file", "");
    testing::internal::CaptureStderr();
    Tracebox(folder.PathOf("file/agent.log"), true).Log(LogWarning, "console %s", "only");
    Tracebox("", false).Log(LogError, "dropped");
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                AllOf(HasSubstr("[warning] console only\n"), Not(HasSubstr("dropped"))));
}

TEST(TraceboxTest, ModuleGivesOneCountedObject) {
    TemporaryFolder folder;
    folder.SetEnvironment("ORRERY_DATA", folder.PathOf("data"));
    folder.SetEnvironment("ORRERY_REGISTRY", folder.PathOf("none.reg"));
    const auto library = platform::OpenLibrary(platform::WidePath(MODULE_FOLDER), u"Tracebox.dll");
    ASSERT_TRUE(library) << platform::LastLibraryError();
    const auto get = reinterpret_cast<GetITraceboxFunction>(platform::FindExport(library, "GetITracebox"));
    const auto free = reinterpret_cast<FreeITraceboxFunction>(platform::FindExport(library, "FreeITracebox"));

    ITracebox* first = get();
    ITracebox* second = get();
    EXPECT_EQ(first, second);
    free(&first);
    EXPECT_EQ(first, nullptr);
    second->Log(LogError, "still there");
    free(&second);
    free(&second);
    EXPECT_TRUE(platform::CloseLibrary(library));
    EXPECT_THAT(folder.Read("data/Zelko Security/Zelko Endpoint Agent/agent.log"),
                HasSubstr("still there\n"));
}

}  // namespace
}  // namespace orrery::tracebox
