#include "system/system_test.h"

namespace orrery::system_test {
namespace {

class AgentTest : public SystemTest {};

TEST_F(AgentTest, AChangedSettingTakesEffectAtOnce) {
    StartBoth();
    Set("Register.Register.DeviceId", "renamed-device");
    EXPECT_TRUE(Eventually([this] { return !Subscribed("renamed-device").empty(); }));
    EXPECT_TRUE(Subscribed().empty());
}

}  // namespace
}  // namespace orrery::system_test
