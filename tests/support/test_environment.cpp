#include "support/test_environment.h"

#include <cstdlib>
#include <fstream>

namespace orrery::test {

namespace {

namespace fs = std::filesystem;

constexpr char dataFolder[] = "Data/Zelko Security/Zelko Endpoint Agent";

// Before main, so that nobody asks for the store earlier.
[[maybe_unused]] const TestEnvironment& atStart = TestEnvironment::Get();

}  // namespace

TestEnvironment& TestEnvironment::Get() {
    static TestEnvironment environment;
    return environment;
}

TestEnvironment::TestEnvironment() : root(folder.PathOf("agent")) {
    ::setenv("ORRERY_REGISTRY", (root / "registry.reg").c_str(), 1);
    ::setenv("ORRERY_DATA", (root / "Data").c_str(), 1);
    Reset();
}

void TestEnvironment::Reset() {
    fs::remove_all(root);
    fs::create_directories(root / "Utils");
    fs::create_directories(root / dataFolder);
    WriteRegistry("[HKEY_LOCAL_MACHINE\\SOFTWARE\\Zelko Security\\SetupEx\\Orrery Agent]\n\"Path\"=\"" +
                  root.string() + "\"\n");
    for (const char* name : {"Eventgate", "Utils/Prefstore", "Utils/Tracebox"}) Replace(name, "services");
    for (const char* name : {"Wirelink.so", "WirelinkLC.so"})
        fs::create_symlink(fs::path(TRANSPORT_FOLDER) / name, root / "Utils" / name);
    config.Clear();
    eventgate.Answer({});
    eventgate.Take();
    tracebox.Take();
}

// A copy: two names of one file would be one library to the loader, which it finds by the old name for as
// long as it is loaded by the other.
void TestEnvironment::Replace(const std::string& name, const std::string& library) {
    Remove(name);
    fs::copy_file(fs::path(TEST_LIBRARY_FOLDER) / (library + ".so"), root / (name + ".so"));
}

void TestEnvironment::Remove(const std::string& name) {
    fs::remove(root / (name + ".so"));
}

std::map<std::string, std::string> TestEnvironment::MessageFiles() const {
    std::map<std::string, std::string> files;
    std::error_code noFolder;
    for (const auto& file : fs::directory_iterator(root / dataFolder / "Messages", noFolder))
        files[file.path().filename()] = folder.Read(file.path());
    return files;
}

void TestEnvironment::WriteRegistry(const std::string& text) {
    std::ofstream(root / "registry.reg") << text;
}

}  // namespace orrery::test

// What the test libraries look up by name. `change` counts the uses of the object.
extern "C" {
using orrery::test::TestEnvironment;

#define EXPORTED __attribute__((visibility("default")))

EXPORTED orrery::ConfigUtil* orrery_test_config_util(int) {
    return &TestEnvironment::Get().config;
}
EXPORTED orrery::IEventgate* orrery_test_eventgate(int change) {
    TestEnvironment::Get().eventgate.uses += change;
    return &TestEnvironment::Get().eventgate;
}
EXPORTED orrery::ITracebox* orrery_test_tracebox(int change) {
    TestEnvironment::Get().tracebox.uses += change;
    return &TestEnvironment::Get().tracebox;
}
}
