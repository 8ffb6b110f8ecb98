// The surroundings of a test program: a temporary install tree with a registry that names it, test libraries
// in place of Prefstore, Eventgate and Tracebox, and the real transport. It is there before main and goes at
// the end of the process. The libraries hand out the objects below, also to a module that the program loads.
#pragma once

#include <filesystem>
#include <map>
#include <string>

#include "support/fake_config_util.h"
#include "support/recording_services.h"
#include "support/temporary_folder.h"

namespace orrery::test {

class TestEnvironment {
  public:
    static TestEnvironment& Get();

    // The whole tree, the registry and all that is recorded as at the start. What has been loaded stays so.
    void Reset();

    // Puts a library in the place of `name` ("Eventgate", "Utils/Tracebox"): "no_exports" or "null_objects".
    void Replace(const std::string& name, const std::string& library);
    void Remove(const std::string& name);
    // The files that the traffic leaves in test mode: name and bytes.
    std::map<std::string, std::string> MessageFiles() const;
    // The text of the registry file; it isn't completed.
    void WriteRegistry(const std::string& text);

  private:
    TemporaryFolder folder;

  public:
    const std::filesystem::path root;  // the install folder; the data folder is `root`/Data
    FakeConfigUtil config;
    RecordingEventgate eventgate;
    RecordingTracebox tracebox;

  private:
    TestEnvironment();
};

}  // namespace orrery::test
