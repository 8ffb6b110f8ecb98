// The surroundings of a test program: a temporary install tree with a registry that names it, and test
// libraries in place of Prefstore, Eventgate, Tracebox and Wirelink. It is there before main and goes at the
// end of the process. The libraries hand out the objects below, also to a module that the program loads.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>

#include "support/fake_config_util.h"
#include "support/fake_wirelink.h"
#include "support/recording_services.h"
#include "support/temporary_folder.h"

namespace orrery::test {

struct TestEnvironment {
    static TestEnvironment& Get();

    // The whole tree, the registry and all that is recorded as at the start. What has been loaded stays so.
    void Reset() {
        std::filesystem::remove_all(root);
        std::filesystem::create_directories(root / "Utils");
        std::filesystem::create_directories(root / dataFolder);
        WriteRegistry("[HKEY_LOCAL_MACHINE\\SOFTWARE\\Zelko Security\\SetupEx\\Orrery Agent]\n\"Path\"=\"" +
                      root.string() + "\"\n");
        for (const char* name : {"Eventgate", "Utils/Prefstore", "Utils/Tracebox", "Utils/Wirelink"})
            Replace(name, "services");
        config.Clear();
        eventgate.Answer({});
        eventgate.Take();
        tracebox.Take();
        wirelink.knobs = {};
        wirelink.uses = 0;
        wirelink.Take();
    }

    // Puts a library in the place of `name` ("Eventgate", "Utils/Tracebox"): "no_exports" or "null_objects".
    // A copy: two names of one file would be one library to the loader, which finds it by the old name for as
    // long as it is loaded by the other.
    void Replace(const std::string& name, const std::string& library) {
        Remove(name);
        std::filesystem::copy_file(TEST_LIBRARY_FOLDER "/" + library + ".so", root / (name + ".so"));
    }
    void Remove(const std::string& name) { std::filesystem::remove(root / (name + ".so")); }
    // The files that the traffic leaves in test mode: name and bytes.
    std::map<std::string, std::string> MessageFiles() const {
        std::map<std::string, std::string> files;
        std::error_code noFolder;
        for (const auto& file : std::filesystem::directory_iterator(root / dataFolder / "Messages", noFolder))
            files[file.path().filename()] = folder.Read(file.path());
        return files;
    }
    // The text of the registry file; it isn't completed.
    void WriteRegistry(const std::string& text) { folder.Write("agent/registry.reg", text); }

    const TemporaryFolder folder;
    // The install folder; the data folder is `root`/Data.
    const std::filesystem::path root = folder.PathOf("agent");
    FakeConfigUtil config;
    RecordingEventgate eventgate;
    RecordingTracebox tracebox;
    FakeWirelink wirelink;

  private:
    TestEnvironment() {
        ::setenv("ORRERY_REGISTRY", (root / "registry.reg").c_str(), 1);
        ::setenv("ORRERY_DATA", (root / "Data").c_str(), 1);
        Reset();
    }

    static constexpr char dataFolder[] = "Data/Zelko Security/Zelko Endpoint Agent";
};

// A test that begins with them as new.
struct EnvironmentTest : testing::Test {
    EnvironmentTest() { environment.Reset(); }

    TestEnvironment& environment = TestEnvironment::Get();
    FakeConfigUtil& config = environment.config;
};

// One of a registered device that has its credentials; it gives back what the transport gave.
struct WirelinkTest : EnvironmentTest {
    WirelinkTest() {
        for (const char16_t* section : {u"Communications.", u"Services."}) {
            config.Set(section + WideString(u"Authorization.AuthorizationId"), u"id");
            config.Set(section + WideString(u"Authorization.Secret"), u"secret");
        }
        config.Set(u"Communications.Defaults.Verb", u"POST");
        config.Set(u"Services.Defaults.SiteId", u"site");
        config.Set(u"Services.Defaults.Type", u"GetDataById");
        config.Set(u"Register.Register.DeviceId", u"device");
        config.Set(u"Register.Notification.NotificationId", u"n");
    }
    ~WirelinkTest() override { EXPECT_EQ(wire.uses, 0); }

    FakeWirelink& wire = environment.wirelink;
};

}  // namespace orrery::test
