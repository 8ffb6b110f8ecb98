#include "agent/installer.h"

#include <gmock/gmock.h>

#include <fstream>

#include "foundation/install_paths.h"
#include "platform/files.h"
#include "platform/temporary_folder.h"
#include "support/fake_config_util.h"

namespace orrery::agent {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

TEST(ServerUrl, IsTakenApartOrRefused) {
    struct Case {
        const char* text;
        const char* parts;  // empty: refused
    };
    const Case cases[] = {
        {"http://hub", "ws|hub|/commandhub"},
        {"HTTPS://Hub.example:8443/", "wss|Hub.example:8443|/commandhub"},
        {"ws://127.0.0.1:80/other/path", "ws|127.0.0.1:80|/other/path"},
        {"wss://[::1]:443", "wss|[::1]:443|/commandhub"},
        {"wss://[::1]", "wss|[::1]|/commandhub"},
        {"hub:80", ""},
        {"ftp://hub", ""},
        {"http://", ""},
        {"http://:80", ""},
        {"http://hub:", ""},
        {"http://hub:0", ""},
        {"http://hub:65536", ""},
        {"http://hub:8x", ""},
        {"http://user:pw@hub", ""},
        {"http://::1", ""},
        {"http://hub/a b", ""},
        {"http://hub/a?b", ""},
    };
    for (const Case& item : cases) {
        ServerUrl url;
        std::string problem;
        const bool read = ParseServerUrl(item.text, url, problem);
        EXPECT_EQ(read ? url.scheme + "|" + url.hostname + "|" + url.path : "", item.parts) << item.text;
        EXPECT_EQ(problem.empty(), read);
    }
}

class InstallerTest : public testing::Test {
  protected:
    void SetUp() override {
        fs::create_directory(libraries);
        for (const char* name : {"Realtime.so", "Eventgate.so", "Iphlpapi.so", "orrery-pac", "Prefstore.so",
                                 "Tracebox.so", "Wirelink.so", "WirelinkLC.so"}) {
            std::ofstream(libraries + "/" + name) << name;
        }
    }
    bool Apply(const InstallOptions& options) {
        InstallPlan plan;
        return PlanInstall(options, plan, problem) && ApplyPlan(plan, store, problem);
    }

    TemporaryFolder scratch;
    const std::string libraries = scratch.PathOf("lib");
    const AgentHome home{scratch.PathOf("a \"home\"")};
    test::FakeConfigUtil store;
    std::string problem;
};

TEST_F(InstallerTest, TheModuleFindsItsFoldersInTheHome) {
    ASSERT_TRUE(LayOutHome(home, libraries, problem)) << problem;
    home.Enter();
    WideString path;
    ASSERT_TRUE(GetUtilsFolder(path));
    EXPECT_TRUE(fs::exists(platform::NativePath(path) + "Prefstore.so"));
    ASSERT_TRUE(GetDataFolder(path));
    EXPECT_EQ(fs::status(platform::NativePath(path)).permissions(), fs::perms(0700));
    EXPECT_TRUE(home.IsInstalled());
    unsetenv("ORRERY_REGISTRY");
    unsetenv("ORRERY_DATA");
}

TEST_F(InstallerTest, RunAgainItReplacesOnlyWhatDiffers) {
    ASSERT_TRUE(LayOutHome(home, libraries, problem)) << problem;
    std::ofstream(home.RegistryFile(), std::ios::app) << "\"Further\"=\"kept\"\n";
    const auto before = fs::last_write_time(home.AgentFolder() + "/Eventgate.so");
    const auto registry = fs::last_write_time(home.RegistryFile());
    std::ofstream(libraries + "/Realtime.so") << "newer";
    ASSERT_TRUE(LayOutHome(home, libraries, problem)) << problem;
    EXPECT_EQ(fs::last_write_time(home.AgentFolder() + "/Eventgate.so"), before);
    EXPECT_EQ(fs::last_write_time(home.RegistryFile()), registry);
    EXPECT_EQ(fs::file_size(home.AgentFolder() + "/Realtime.so"), 5u);
}

TEST_F(InstallerTest, MissingLibrariesAreNamedAndNothingIsMade) {
    fs::remove(libraries + "/Wirelink.so");
    EXPECT_FALSE(LayOutHome(home, libraries, problem));
    EXPECT_THAT(problem, HasSubstr("Wirelink.so"));
    EXPECT_FALSE(fs::exists(home.Folder()));
}

TEST_F(InstallerTest, SettingsChangeOnlyAsTold) {
    store.Set(u"Realtime.Client.ValidateCertificates", u"0");
    ASSERT_TRUE(Apply({.server = "https://hub:1", .device = {}, .site = "s"}));
    const auto device = store.Value(u"Register.Register.DeviceId");
    const auto notification = store.Value(u"Register.Notification.NotificationId");
    EXPECT_EQ(device->size(), 36u);
    EXPECT_NE(device, notification);
    EXPECT_EQ(store.Value(u"Realtime.Client.ValidateCertificates"), u"0");
    EXPECT_EQ(store.Value(u"Realtime.Notifications.Enabled"), u"1");
    EXPECT_EQ(store.Value(u"Communications.Method_CommandHub.Scheme"), u"wss");

    store.DeleteValue(u"Realtime.Notifications.Enabled");
    const uint32_t writes = store.Writes();
    ASSERT_TRUE(Apply({}));
    ASSERT_TRUE(Apply({.server = "wss://hub:1/commandhub", .device = {}, .site = "s"}));
    EXPECT_EQ(store.Writes(), writes);
    ASSERT_TRUE(Apply({.server = {}, .device = "d", .site = {}}));
    EXPECT_EQ(store.Writes(), writes + 1);
    EXPECT_EQ(store.Value(u"Register.Notification.NotificationId"), notification);
}

TEST_F(InstallerTest, ABadOptionChangesNothing) {
    EXPECT_FALSE(Apply({.server = "http://hub", .device = "", .site = {}}));
    EXPECT_THAT(problem, HasSubstr("device id is empty"));
    EXPECT_EQ(store.Writes(), 0u);
}

}  // namespace
}  // namespace orrery::agent
