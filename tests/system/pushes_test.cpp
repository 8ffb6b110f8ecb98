#include "system/system_test.h"

namespace orrery::system_test {
namespace {

class PushesTest : public SystemTest {};

TEST_F(PushesTest, TenThousandAreRaisedInTheirOrder) {
    constexpr int count = 10'000;
    StartBoth();
    std::vector<Json> actions;
    for (int number = 0; number < count; ++number) {
        actions.push_back({{"Numbered", {{"Number", number}, {"Text", std::string(250, 'x')}}}});
    }
    actions.push_back({{"Last", Json::object()}});
    ASSERT_TRUE(Push(actions));
    for (int number = 0; number < count; ++number) {
        const Json line = NextRaised();
        ASSERT_EQ(line["name"], "Numbered");
        ASSERT_EQ(Json::parse(line["text"].get<std::string>())["Numbered"]["Number"], number);
    }
    EXPECT_EQ(NextRaised()["name"], "Last");
    EXPECT_TRUE(Registered(1));
}

// A frame that is no push with a message that can be taken is nothing, and the one behind it is as good as
// ever.
TEST_F(PushesTest, HostileFramesChangeNothing) {
    StartBoth();
    const std::string push =
        R"("Parameters":{"Topic":"D)" + device + R"(","Message":"{\"Actions\":{\"Bad\":{}}}"}})";
    const std::vector<std::string> frames = {
        "",
        std::string(5'000'000, '['),
        R"({"Type":"100",)" + push,
        R"({"Type":100,"Parameters":[{"Topic":"a"}]})",
        R"({"Type":100,"Parameters":{"Topic":1,"Message":{}}})",
        R"({"Type":100,"Parameters":{"Topic":"D)" + device + R"(","Message":"{\"Actions\":[[],null,7]}"}})"};
    for (const std::string& frame : frames) SendFrame(frame);
    SendFrame(R"({"Type":100,)" + push, "binary");
    ASSERT_TRUE(Push({{{"After", Json::object()}}}));
    EXPECT_EQ(NextRaised()["name"], "After");
    EXPECT_TRUE(Registered(1));
}

TEST_F(PushesTest, ComesBackFromFramesThatEndTheConnection) {
    StartBoth();
    SendFrame("\"\xC3\x28\"");
    ASSERT_TRUE(Registered(2));
    SendFrame(std::string(32'000'001, ' '));
    ASSERT_TRUE(Registered(3));
    ExpectPushArrives();
}

}  // namespace
}  // namespace orrery::system_test
