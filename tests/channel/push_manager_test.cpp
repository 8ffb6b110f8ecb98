#include "channel/push_manager.h"

#include <gmock/gmock.h>

#include "events/dispatcher_helper.h"
#include "support/fake_server.h"
#include "support/test_environment.h"

namespace orrery::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PushManagerTest : public EnvironmentTest {
  protected:
    PushManagerTest() {
        config.Set(u"Register.Register.DeviceId", u"abc");
        config.Set(u"Register.Register.SiteId", u"site");
    }
    void Push(const char* topic, const char* message) { manager.OnMessage(ToWide(topic), ToWide(message)); }
    std::vector<std::string> Raised() {
        std::vector<std::string> texts;
        for (const auto& [text, flag] : environment.eventgate.Take()) texts.push_back(WithoutIds(text));
        return texts;
    }

    FakeServer server;
    std::unique_ptr<IPushChannel> channel = server.MakeChannel({}, nullptr);
    std::unique_ptr<IPushService> service = server.MakeService(u"abc", channel.get(), &config);
    CDispatcherHelper dispatcher;
    CPushManager manager{service.get(), &config, &dispatcher};
};

TEST_F(PushManagerTest, SubscribesToWhatItCouldRead) {
    config.Clear();
    ASSERT_TRUE(manager.Start());
    EXPECT_EQ(server.Take().back(), R"({"Type":10,"DeviceId":"abc","Parameters":{}})");
    EXPECT_TRUE(manager.Start());
    EXPECT_THAT(server.Take(), IsEmpty());
    manager.Stop();
    EXPECT_FALSE(manager.IsConnected());
    config.Set(u"Register.Register.DeviceId", u"abc");
    for (int start = 0; start < 2; ++start) {
        ASSERT_TRUE(manager.Start());
        EXPECT_EQ(server.Take().back(), R"({"Type":12,"DeviceId":"abc","Parameters":{"Topics":["Dabc"]}})");
        server.Lose();
        config.Set(u"Register.Register.SiteId", u"late");  // for the next push manager
    }
    server.accepts = false;
    EXPECT_FALSE(manager.Start());
}

TEST_F(PushManagerTest, RaisesTheActionsOfItsTopicsOnly) {
    const char* const actions = R"({"Actions":{"A":{"x":1},"B":{},"no":5}})";
    server.onSend = [&] { Push("Dabc", actions); };
    ASSERT_TRUE(manager.Start());
    server.onSend = nullptr;
    EXPECT_THAT(Raised(), testing::SizeIs(1))
        << "behind Register no topic is known, behind Subscribe all are";

    for (const char* topic : {"dabc", "Dabc ", "", "Dabcd", "SITE"}) Push(topic, actions);
    for (const char* message : {"", "{", "[]", "{}", R"({"actions":{"A":{}}})", R"({"Actions":[{"A":{}}]})",
                                R"({"Actions":{}})", R"({"Actions":{"A":1}})"}) {
        Push("Dabc", message);
    }
    EXPECT_THAT(Raised(), IsEmpty());
    environment.eventgate.Answer({87});
    Push("Dabc", actions);
    Push("Ssite", R"({"Actions":{"Only":{"EventId":"mine"}}})");
    EXPECT_THAT(Raised(), ElementsAre(R"([{"A":{"x":1,"EventId":"{id}","EventSource":"RealTime"}},)"
                                      R"({"B":{"EventId":"{id}","EventSource":"RealTime"}}])",
                                      R"({"Only":{"EventId":"{id}","EventSource":"RealTime"}})"));
}

}  // namespace
}  // namespace orrery::test
