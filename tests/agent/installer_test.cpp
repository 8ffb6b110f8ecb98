#include "agent/install/installer.h"

#include <gmock/gmock.h>

#include <fstream>

#include "agent/install/install_plan.h"
#include "agent/schedule/schedule_task.h"
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
    };
    ServerUrl url;
    std::string problem;
    for (const auto& [text, parts] : cases) {
        EXPECT_TRUE(ParseServerUrl(text, url, problem)) << problem;
        EXPECT_EQ(url.scheme + "|" + url.hostname + "|" + url.path, parts);
    }
    for (const char* text : {"hub:80", "ftp://hub", "http://:80", "http://hub:", "http://hub:0",
                             "http://hub:65536", "http://hub:8x", "http://user:pw@hub", "http://::1",
                             "http://hub/a b", "http://hub/a?b", "http://[::g]", "http://hub,b"})
        EXPECT_FALSE(ParseServerUrl(text, url, problem)) << text;
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
    const auto before = fs::last_write_time(home.AgentFolder() + "/Eventgate.so");
    std::ofstream(libraries + "/Realtime.so") << "newer";
    ASSERT_TRUE(LayOutHome(home, libraries, problem)) << problem;
    EXPECT_EQ(fs::last_write_time(home.AgentFolder() + "/Eventgate.so"), before);
    EXPECT_EQ(fs::file_size(home.AgentFolder() + "/Realtime.so"), 5u);
}

TEST_F(InstallerTest, WhatCannotBeDoneWholeIsNotBegun) {
    fs::remove(libraries + "/Wirelink.so");
    EXPECT_FALSE(LayOutHome(home, libraries, problem));
    EXPECT_THAT(problem, HasSubstr("Wirelink.so"));
    EXPECT_FALSE(fs::exists(home.Folder()));
}

TEST_F(InstallerTest, SettingsChangeOnlyAsTold) {
    store.Set(u"Realtime.Client.ValidateCertificates", u"0");
    ASSERT_TRUE(Apply({.server = "https://hub:1", .device = {}, .site = "s"}));
    const auto notification = store.Value(u"Register.Notification.NotificationId");
    EXPECT_NE(store.Value(u"Register.Register.DeviceId"), notification);
    EXPECT_EQ(store.Value(u"Realtime.Client.ValidateCertificates"), u"0");
    const uint32_t writes = store.writes;
    ASSERT_TRUE(Apply({}) && Apply({.server = "wss://hub:1/commandhub", .device = {}, .site = "s"}));
    EXPECT_EQ(store.writes, writes);
    ASSERT_TRUE(Apply({.server = {}, .device = "d", .site = {}}));
    EXPECT_EQ(store.writes, writes + 4);  // the id itself, and where it signs and asks
    EXPECT_EQ(store.Value(u"Register.Notification.NotificationId"), notification);
    store.Set(u"Services.Defaults.Hostname", u"elsewhere");
    ASSERT_TRUE(Apply({.server = {}, .device = "e", .site = {}}));
    EXPECT_EQ(store.Value(u"Services.Defaults.Hostname"), u"elsewhere");
    ASSERT_TRUE(Apply({.server = "ws://other", .device = {}, .site = {}}));
    EXPECT_EQ(store.Value(u"Services.Defaults.Hostname"), u"http://other");
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
    ASSERT_TRUE(Apply({.poll = 0}) && Apply({}));  // and they don't come back unasked
    EXPECT_FALSE(store.Value(pollTaskKey));
}

}  // namespace
}  // namespace orrery::agent
