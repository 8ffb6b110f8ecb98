#include "channel/command_hub_client.h"

#include <gmock/gmock.h>

#include <future>

#include "support/fake_config_util.h"
#include "support/fake_server.h"
#include "support/scarcity.h"
#include "support/test_clock.h"

namespace orrery::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using Client = CommandHubClient;

constexpr char registerFrame[] = R"({"Type":10,"DeviceId":"a\"c","Parameters":{}})";
constexpr char unregisterFrame[] = R"({"Type":11,"DeviceId":"a\"c","Parameters":{}})";
constexpr char subscribeFrame[] = R"({"Type":12,"DeviceId":"a\"c","Parameters":{"Topics":["D","S"]}})";

class CommandHubClientTest : public testing::Test {
  protected:
    CommandHubClientTest() {
        client->SetConnectHandler([this] { server.Note("connected"); });
        client->SetCloseHandler([this] { server.Note("lost"); });
        client->SetMessageHandler([this](const WideString& topic, const WideString& message) {
            server.Note(ToUtf8(topic + u"|" + message));
        });
        server.Take();
    }
    void FromServer(const std::string& frame) { server.messageHandler(ToWide(frame)); }

    TestClock clock;
    FakeConfigUtil config;
    FakeServer server;
    std::unique_ptr<IPushChannel> channel = server.MakeChannel({}, nullptr);
    std::unique_ptr<Client> client = std::make_unique<Client>(u"a\"c", channel.get(), &config);
};

TEST_F(CommandHubClientTest, HoldsAConversationInItsOrder) {
    ASSERT_TRUE(client->Connect());
    EXPECT_EQ(client->GetState(), Client::Registering);
    EXPECT_TRUE(client->Subscribe({u"D", u"S"}));
    EXPECT_THAT(server.Take(), ElementsAre("close", "connect", "connected", registerFrame, subscribeFrame));
    FromServer(R"({"Type":20,"Parameters":["SessiondId"]})");
    EXPECT_EQ(client->GetState(), Client::Registered);
    server.onSend = [this] { EXPECT_EQ(client->GetState(), Client::Unregistering); };
    client->Close();
    FromServer(R"({"Type":20})");  // too late for a welcome
    EXPECT_EQ(client->GetState(), Client::Closed);
    client->Close();
    EXPECT_THAT(server.Take(), ElementsAre(unregisterFrame, "close", "close"));
    server.onSend = [this] { FromServer(R"({"Type":20,"Parameters":{"SessiondId":"s"}})"); };
    ASSERT_TRUE(client->Connect());
    EXPECT_EQ(client->GetState(), Client::Registered) << "the welcome overtakes the end of Send";
    EXPECT_THROW(Client({}, nullptr, nullptr), std::invalid_argument);
}

TEST_F(CommandHubClientTest, OnlyWholePushesReachTheHandler) {
    ASSERT_TRUE(client->Connect());
    server.Take();
    for (const char* frame :
         {"", "no JSON", "[]", "{}", R"({"Type":"100","Parameters":{}})", R"({"Type":100.5,"Parameters":{}})",
          R"({"Type":100})", R"({"Type":100,"Parameters":[]})", R"({"Type":20.0})", R"({"Type":2})",
          R"({"Type":3,"Parameters":{"Message":"no"}})", R"({"Type":21})", R"({"Type":77})"}) {
        FromServer(frame);
    }
    EXPECT_EQ(client->GetState(), Client::Registering);
    EXPECT_THAT(server.Take(), IsEmpty());
    FromServer(R"({"Type":100,"Parameters":{"Topic":"D","Message":"{\"a\":1}"}})");
    FromServer(R"({"Type":100,"Parameters":{"Topic":"D","Message":{"a":1}}})");
    FromServer(R"({"Type":4294967396,"Parameters":{}})");  // the lower 32 bits count
    EXPECT_THAT(server.Take(), ElementsAre(R"(D|{"a":1})", "D|", "|"));
}

TEST_F(CommandHubClientTest, AfterAFailureOrALossItCanConnectAgain) {
    server.takes = false;
    EXPECT_FALSE(client->Connect());
    EXPECT_EQ(client->GetState(), Client::Closed);
    EXPECT_FALSE(client->IsConnected()) << "nobody would try again";
    server.takes = true;
    WithoutThreads([this] { EXPECT_FALSE(client->Connect()) << "nothing would keep it alive"; });
    EXPECT_FALSE(client->IsConnected());
    EXPECT_EQ(client->GetState(), Client::Closed);
    server.onSend = [this] { std::thread([this] { server.Lose(); }).join(); };
    EXPECT_FALSE(client->Connect()) << "lost while Connect runs: it cleans up";
    EXPECT_EQ(client->GetState(), Client::Closed);
    server.onSend = [this] { std::thread([this] { server.closeHandler(); }).join(); };
    EXPECT_TRUE(client->Connect()) << "the late loss of an earlier connection";
    EXPECT_EQ(client->GetState(), Client::Registering);
    server.onSend = nullptr;
    server.Take();
    server.Lose();
    EXPECT_EQ(client->GetState(), Client::Closed);
    EXPECT_TRUE(client->Connect());
    EXPECT_THAT(server.Take(), ElementsAre("close", "lost", "close", "connect", "connected", registerFrame));
}

TEST_F(CommandHubClientTest, TheDestructorWaitsForACallbackInside) {
    std::promise<void> release;
    client->SetMessageHandler([&](const WideString&, const WideString&) {
        server.Note("inside");
        release.get_future().wait();
        server.Note("left");
    });
    ASSERT_TRUE(client->Connect());
    std::thread receiving([this] { FromServer(R"({"Type":100,"Parameters":{}})"); });
    server.Take("inside");
    auto destroyed = std::async(std::launch::async, [this] { client.reset(); });
    release.set_value();
    destroyed.get();
    EXPECT_THAT(server.Take(), Contains("left"));
    receiving.join();
    FromServer(R"({"Type":100,"Parameters":{}})");  // the channel outlives the client
    EXPECT_THAT(server.Take(), IsEmpty());
}

TEST_F(CommandHubClientTest, KeepsAliveAtItsInterval) {
    struct {
        const char16_t* setting;
        int64_t interval;
    } const cases[] = {
        {nullptr, 120},       {u"45", 45}, {u" 7 s", 7}, {u"2147483647", 2147483647},
        {u"2147483648", 120}, {u"0", 120}, {u"-5", 120}, {u"soon", 120},
        {u"", 120},
    };
    for (const auto& [setting, interval] : cases) {
        SCOPED_TRACE(interval);
        if (setting) config.Set(u"Realtime.CommandHub.KeepAliveInterval", setting);
        client = std::make_unique<Client>(u"abc", channel.get(), &config);
        for (int connection = 0; connection < 2; ++connection) {
            ASSERT_TRUE(client->Connect());
            server.Take();
            for (int frame = 0; frame < 2; ++frame) {
                EXPECT_TRUE(clock.AdvanceWaiter(interval - 1));
                EXPECT_TRUE(clock.AdvanceWaiter(1));
                EXPECT_THAT(server.Take("{}"), ElementsAre("{}"));
            }
            EXPECT_TRUE(clock.AdvanceWaiter(interval - 1));
            EXPECT_TRUE(clock.AdvanceWaiter(0)) << "it has looked at the clock";
            EXPECT_THAT(server.Take(), IsEmpty());
            server.Lose();
        }
    }
}

}  // namespace
}  // namespace orrery::test
