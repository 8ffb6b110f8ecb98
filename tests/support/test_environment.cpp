#include "support/test_environment.h"

namespace orrery::test {

namespace {

// Before main, so that nobody asks for the store earlier.
[[maybe_unused]] const TestEnvironment& atStart = TestEnvironment::Get();

}  // namespace

TestEnvironment& TestEnvironment::Get() {
    static TestEnvironment environment;
    return environment;
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
EXPORTED orrery::IWirelink* orrery_test_wirelink(int change) {
    TestEnvironment::Get().wirelink.uses += change;
    return &TestEnvironment::Get().wirelink;
}
}
