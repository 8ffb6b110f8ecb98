#include "agent/install/installer.h"

#include <gmock/gmock.h>

#include <fstream>

#include "agent/install/install_plan.h"
#include "agent/schedule/schedule_task.h"
#include "agent/settings/settings_import.h"
#include "support/fake_config_util.h"
#include "support/temporary_folder.h"

namespace orrery::agent {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

TEST(ServerUrl, IsTakenApartOrRefused) {
    const std::pair<const char*, std::string> cases[] = {
        {"http://hub", "ws|hub|/commandhub"},
        {"HTTPS://Hub.example:8443/", "wss|Hub.example:8443|/commandhub"},
        {"ws://127.0.0.1:80/other/path", "ws|127.0.0.1:80|/other/path"},
        {"wss://[::1.2]:65535", "wss|[::1.2]:65535|/commandhub"},
        {"ws://a-b.c_d", "ws|a-b.c_d|/commandhub"},
    };
    ServerUrl url;
    std::string problem;
    for (const auto& [text, parts] : cases) {
        EXPECT_TRUE(ParseServerUrl(text, url, problem)) << problem;
        EXPECT_EQ(url.scheme + "|" + url.hostname + "|" + url.path, parts);
    }
    for (const char* text :
         {"hub:80", "ftp://hub", "http://", "http://:80", "http://hub:", "http://hub:0", "http://hub:65536",
          "http://hub:8x", "http://user:pw@hub", "http://::1", "http://hub/a b", "http://hub/a?b",
          "http://hub/#a", "http://[::g]", "http://[]", "http://hub,b"}) {
        EXPECT_FALSE(ParseServerUrl(text, url, problem)) << text;
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

TEST_F(InstallerTest, RunAgainItReplacesOnlyWhatDiffers) {
    ASSERT_TRUE(LayOutHome(home, libraries, problem)) << problem;
    EXPECT_TRUE(home.IsInstalled());
    EXPECT_EQ(fs::status(home.StoreFolder()).permissions(), fs::perms(0700));
    std::ofstream(home.RegistryFile(), std::ios::app) << "\"Further\"=\"kept\"\n";
    const auto before = fs::last_write_time(home.AgentFolder() + "/Eventgate.so");
    const auto registry = fs::last_write_time(home.RegistryFile());
    std::ofstream(libraries + "/Realtime.so") << "newer";
    ASSERT_TRUE(LayOutHome(home, libraries, problem)) << problem;
    EXPECT_EQ(fs::last_write_time(home.AgentFolder() + "/Eventgate.so"), before);
    EXPECT_EQ(fs::last_write_time(home.RegistryFile()), registry);
    EXPECT_EQ(fs::file_size(home.AgentFolder() + "/Realtime.so"), 5u);
}

TEST_F(InstallerTest, WhatCannotBeDoneWholeIsNotBegun) {
    fs::remove(libraries + "/Wirelink.so");
    EXPECT_FALSE(LayOutHome(home, libraries, problem));
    EXPECT_THAT(problem, HasSubstr("Wirelink.so"));
    EXPECT_FALSE(fs::exists(home.Folder()));
    EXPECT_FALSE(LayOutHome(AgentHome(scratch.PathOf("a\\b")), libraries, problem));
    EXPECT_THAT(problem, HasSubstr("no backslashes"));
    problem.clear();
    EXPECT_FALSE(Apply({.server = "http://hub", .device = "", .site = {}}));
    EXPECT_THAT(problem, HasSubstr("device id is empty"));
    EXPECT_EQ(store.Writes(), 0u);
}

TEST_F(InstallerTest, SettingsChangeOnlyAsTold) {
    store.Set(u"Realtime.Client.ValidateCertificates", u"0");
    ASSERT_TRUE(Apply({.server = "https://hub:1", .device = {}, .site = "s"}));
    const auto device = store.Value(u"Register.Register.DeviceId");
    const auto notification = store.Value(u"Register.Notification.NotificationId");
    EXPECT_EQ(device->size(), 36u);
    EXPECT_NE(device, notification);
    EXPECT_EQ(store.Value(u"Realtime.Client.ValidateCertificates"), u"0");
    EXPECT_EQ(store.Value(u"Communications.Method_CommandHub.Scheme"), u"wss");

    store.DeleteValue(u"Realtime.Notifications.Enabled");
    const uint32_t writes = store.Writes();
    ASSERT_TRUE(Apply({}));
    ASSERT_TRUE(Apply({.server = "wss://hub:1/commandhub", .device = {}, .site = "s"}));
    EXPECT_EQ(store.Writes(), writes);
    ASSERT_TRUE(Apply({.server = {}, .device = "d", .site = {}}));
    EXPECT_EQ(store.Writes(), writes + 4);  // the id itself, and where it signs and asks
    EXPECT_EQ(store.Value(u"Register.Notification.NotificationId"), notification);
}

TEST_F(InstallerTest, CallsFollowServerDeviceAndSecret) {
    const auto calls = [this] {
        return ToUtf8(*store.Value(u"Communications.Method_Bind.Scheme") + u" " +
                      *store.Value(u"Services.Defaults.Hostname") + u" " +
                      *store.Value(u"Services.Authorization.AuthorizationId") + u" " +
                      *store.Value(u"Services.Defaults.SiteId") + u" " +
                      *store.Value(u"Communications.Authorization.Secret"));
    };
    ASSERT_TRUE(Apply({.server = "https://hub:1/base", .device = "d"}));
    EXPECT_EQ(calls(), "https https://hub:1 d default orrery-development");
    store.Set(u"Services.Defaults.Hostname", u"elsewhere");
    ASSERT_TRUE(Apply({.device = "e", .site = "s"}) && Apply({.secret = "kept"}));
    EXPECT_EQ(calls(), "https elsewhere e s kept");
    ASSERT_TRUE(Apply({.server = "ws://other"}));
    EXPECT_EQ(calls(), "http http://other e s kept");
    EXPECT_FALSE(Apply({.secret = std::string(256, 's')}));
}

TEST_F(InstallerTest, AnOlderHomeGetsItsCallsAndPolls) {
    store.Set(u"Register.Register.DeviceId", u"d");
    store.Set(u"Communications.Method_CommandHub.Hostname", u"hub");
    ASSERT_TRUE(Apply({}));
    EXPECT_EQ(store.Value(u"Services.Defaults.Hostname"), u"http://hub");

    ScheduleTask task;
    ASSERT_TRUE(ReadStoredTask(store.Value(pollTaskKey).value(), task));
    EXPECT_EQ(task.every, 1'800'000);
    EXPECT_NEAR(static_cast<double>(task.next - NowMilliseconds()), 1'800'000, 60'000);
    EXPECT_EQ(TaskEvents(task).at(0).items.at(0).name, u"NotificationCheck");

    const uint32_t writes = store.Writes();
    ASSERT_TRUE(Apply({.poll = 1800}));
    EXPECT_EQ(store.Writes(), writes);
    ASSERT_TRUE(Apply({.poll = 0}) && Apply({}));  // and they don't come back unasked
    EXPECT_FALSE(store.Value(pollTaskKey));
}

TEST(SettingsImport, LinesAndJsonGiveTheSameAndFaultsAreNamed) {
    const SettingsList expected{{"a.b.c", " x=y "}, {"a.b.d", ""}};
    SettingsList settings;
    std::string problem;
    for (const char* text :
         {"# comment\r\n\n  a.b.c = x=y \r\na.b.d=\n", R"( {"a.b.c":" x=y ","a.b.d":""})"}) {
        settings.clear();
        ASSERT_TRUE(ReadSettingsText(text, settings, problem)) << problem;
        EXPECT_EQ(settings, expected) << text;
    }
    const std::pair<const char*, const char*> faults[] = {
        {"a.b.c=1\nnonsense\n", "line 2"},    {"a.b.=1", "line 1"},        {R"({"a.b.c":1})", "a.b.c"},
        {R"({"a.b.c":"x\u0000y"})", "a.b.c"}, {R"({"a.b.c":"x")", "JSON"},
    };
    for (const auto& [text, named] : faults) {
        EXPECT_FALSE(ReadSettingsText(text, settings, problem)) << text;
        EXPECT_THAT(problem, testing::HasSubstr(named));
    }
}

}  // namespace
}  // namespace orrery::agent
