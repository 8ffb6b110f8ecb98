#include "system/system_test.h"

namespace orrery::system_test {
namespace {

const std::string tag = "Services.Service_NotificationCheck.ETag";

class PollTest : public SystemTest {
  protected:
    std::string Poll() const { return Execute("NotificationCheck"); }
    Json Seen(const std::string& member) const { return Requests("/services/notifications/", member); }
};

TEST_F(PollTest, TheTagGoesFromEachAnswerToTheNextPoll) {
    StartWithoutChannel();
    EXPECT_EQ(Poll(), "0");
    const std::string created = Setting(tag);
    EXPECT_EQ(Setting("Services.Service_NotificationCreate.ETag"), created);
    EXPECT_EQ(Poll(), "0");

    const Json notice = {{"id", Setting("Register.Notification.NotificationId")}, {"message", "Good day"}};
    const std::string noticed = Json::parse(Api("/api/notify", notice.dump()))["etag"];
    Api("/api/faults", R"({"etag":"no tag"})");
    EXPECT_EQ(Poll(), "0");
    EXPECT_EQ(NextRaised()["name"], "NotificationPush");
    EXPECT_EQ(Poll(), "0");
    EXPECT_EQ(Setting(tag), "");
    EXPECT_EQ(Poll(), "0");
    EXPECT_EQ(NextRaised()["name"], "NotificationPush");
    EXPECT_EQ(Seen("status"), Json({404, 201, 304, 200, 400, 200}));
    EXPECT_EQ(Seen("etag"), Json({nullptr, nullptr, created, created, "no tag", nullptr}));

    // A poll keeps its client until the device has another id.
    Set("Services.Authorization.AuthorizationId", "renamed");
    Set("Register.Register.DeviceId", "renamed");
    EXPECT_TRUE(Eventually([this] { return Poll() == "0" && Seen("device").back() == "renamed"; }));
    EXPECT_EQ(Seen("etag").back(), noticed);
}

TEST_F(PollTest, AnOverlapIsAnErrorThatOutlivesAKillAsARetryDoes) {
    StartWithoutChannel({{"Events.DeviceBind.RetryDelay", "4"}});
    Api("/api/faults", R"({"match":"/services/","delay":3000})");
    Api("/api/faults", R"({"match":"/webapi/","status":500})");
    Process first(AgentCommand({"event", R"({"NotificationCheck":{}})"}), PathOf("first"));
    EXPECT_TRUE(Eventually([this] { return Seen("method").size() == 1; }));
    EXPECT_EQ(Poll(), "1056");
    EXPECT_EQ(Seen("method"), Json::array({"GET"}));
    EXPECT_EQ(first.End(0), 0);
    EXPECT_EQ(Execute("DeviceBind"), "0");
    EXPECT_TRUE(Eventually([this] { return Retries().size() == 1; }));
    agent->End(SIGKILL);
    StartAgent();
    EXPECT_TRUE(Eventually([this] { return Requests("/webapi/bind") == Json({500, 200}); }));
    EXPECT_EQ(Setting("Events.NotificationCheck.ErrorCount"), "1");
}

}  // namespace
}  // namespace orrery::system_test
