#include "system/system_test.h"

namespace orrery::system_test {
namespace {

class AgentTest : public SystemTest {};

TEST_F(AgentTest, AHomeHasRoomForOneAgent) {
    StartBoth();
    EXPECT_EQ(RunAgent({"run"}).first, 1);
    EXPECT_NE(folder.Read("run.err").find("another agent runs in this home"), std::string::npos);
    EXPECT_TRUE(Registered(1));
}

TEST_F(AgentTest, AChangedSettingTakesEffectAtOnce) {
    StartBoth();
    Set("Register.Register.DeviceId", "renamed-device");
    EXPECT_TRUE(Eventually([this] { return !Subscribed("renamed-device").empty(); }));
    EXPECT_TRUE(Subscribed().empty());
}

}  // namespace
}  // namespace orrery::system_test
