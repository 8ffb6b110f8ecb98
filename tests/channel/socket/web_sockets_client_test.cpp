#include "channel/socket/web_sockets_client.h"

#include <gmock/gmock.h>

#include <future>
#include <thread>

#include "platform/text.h"
#include "support/call_log.h"
#include "support/test_clock.h"
#include "support/test_environment.h"
#include "support/web_socket_server.h"

namespace orrery::test {
namespace {

using testing::ElementsAre;

class WebSocketsClientTest : public testing::Test {
  protected:
    void Make(const WideString& uri) {
        client = std::make_unique<WebSocketsClient>(uri, nullptr);
        client->SetConnectHandler([this] { log.Note("connected"); });
        client->SetCloseHandler([this] { log.Note("closed"); });
        client->SetMessageHandler([this](const WideString& text) { log.Note(ToUtf8(text)); });
    }

    CallLog log;
    std::unique_ptr<WebSocketsClient> client;
};

TEST_F(WebSocketsClientTest, SendsOnlyWhileConnected) {
    WebSocketServer server(ServerManner::Echoes);
    Make(server.Uri());
    client->Close();
    EXPECT_FALSE(client->Send(u"too early"));
    for (int round = 1; round <= 2; ++round) {
        ASSERT_TRUE(client->Connect());
        EXPECT_TRUE(client->Send(u"\u00FC\U0001F600"));
        // A binary frame, a ping and an empty text come before the echo.
        EXPECT_THAT(log.Take("\u00FC\U0001F600"), ElementsAre("connected", "", "\u00FC\U0001F600"));
        for (int close = 1; close <= 2; ++close) client->Close();
        EXPECT_FALSE(client->Send(u"too late"));
        EXPECT_THAT(log.Take("closed"), ElementsAre("closed")) << "a closing of our own is told too";
    }
    ASSERT_TRUE(client->Connect());
    EXPECT_TRUE(client->Connect());
    EXPECT_EQ(client->GetState(), ChannelConnected);
    EXPECT_THAT(log.Take(), ElementsAre("connected", "closed", "connected")) << "the earlier one goes first";
    client->SetMessageHandler([this](const WideString&) {
        log.Note("thrown");
        throw std::runtime_error("a handler's");
    });
    EXPECT_TRUE(client->Send(u"word"));
    log.Take("thrown");
    EXPECT_EQ(client->GetState(), ChannelConnected);
}

TEST_F(WebSocketsClientTest, TestModeLeavesTheTrafficInFiles) {
    TestEnvironment& environment = TestEnvironment::Get();
    environment.Reset();
    WebSocketServer server(ServerManner::Echoes);
    TestClock clock;
    clock.offset = -3600;
    Make(server.Uri());
    ASSERT_TRUE(client->Connect());
    environment.config.Set(u"Register.Agent.TestMode", u"1");
    for (const char16_t* text : {u"{}", u"\u00FC\r\n"}) {
        EXPECT_THAT(environment.MessageFiles(), testing::IsEmpty());
        EXPECT_TRUE(client->Send(text));
        log.Take(ToUtf8(text));
    }
    const std::string name = " 2023.11.14 21.13.20.000.log";
    const std::string record = "[REQUEST]\r\nTime=2023-11-14 21:13:20.000\r\nURL=" + ToUtf8(server.Uri()) +
                               "\r\nBody=\u00FC\r\n\r\nState=Connected\r\n";
    EXPECT_TRUE(Eventually([&] { return environment.MessageFiles()["Realtime_Get" + name] == record; }));
    EXPECT_EQ(environment.MessageFiles()["Realtime_Send" + name], record);
}

TEST_F(WebSocketsClientTest, LosesNoEarlyMessage) {
    WebSocketServer server(ServerManner::Greets);
    for (int round = 0; round < 30; ++round) {
        Make(server.Uri());
        client->SetConnectHandler(nullptr);
        client->SetMessageHandler([this](const WideString& text) {
            log.Note(ToUtf8(text) + (client->GetState() == ChannelConnected ? "" : " while closed"));
        });
        ASSERT_TRUE(client->Connect());
        EXPECT_THAT(log.Take("9"), ElementsAre("0", "1", "2", "3", "4", "5", "6", "7", "8", "9"));
    }
}

TEST_F(WebSocketsClientTest, AReconnectThatFailsLeavesNoConnection) {
    WebSocketServer server(ServerManner::Echoes);
    Make(server.Uri());
    ASSERT_TRUE(client->Connect());
    server.Behave(ServerManner::Refuses);
    EXPECT_FALSE(client->Connect());
    EXPECT_EQ(client->GetState(), ChannelClosed);
    EXPECT_FALSE(client->Send(u"too late"));
    client.reset();
    EXPECT_THAT(log.Take(), ElementsAre("connected", "closed"));
    EXPECT_THAT(server.closed.Take("1000"), ElementsAre("1000"));
}

// The library waits 5 seconds for the answer to a close.
TEST_F(WebSocketsClientTest, ASilentPeerHoldsNobodyUp) {
    WebSocketServer server(ServerManner::FallsSilent);
    Make(server.Uri());
    ASSERT_TRUE(client->Connect());
    auto gone = std::async(std::launch::async, [this] {
        client->Connect();
        client.reset();
    });
    EXPECT_EQ(gone.wait_for(std::chrono::seconds(4)), std::future_status::ready);
    gone.get();
    EXPECT_THAT(log.Take(), ElementsAre("connected", "closed", "connected"));
}

constexpr int rounds = 100;  // of the races

// Several at once, as the library's pool has two threads to lose.
TEST_F(WebSocketsClientTest, GoesRightBehindASend) {
    std::vector<std::future<void>> users;
    for (int user = 0; user < 4; ++user) {
        users.push_back(std::async(std::launch::async, [] {
            WebSocketServer server(ServerManner::Echoes);
            for (int round = 0; round < rounds; ++round) {
                WebSocketsClient dropped(server.Uri(), nullptr);
                ASSERT_TRUE(dropped.Connect()) << round;
                ASSERT_TRUE(dropped.Send(u"word")) << round;
            }
        }));
    }
}

TEST_F(WebSocketsClientTest, HandlersMaySendAndCloseWhileOthersConnectAndClose) {
    WebSocketServer server(ServerManner::Greets);
    Make(server.Uri());
    std::atomic<int> calls{0};
    const auto sendAndClose = [&] {
        client->Send(u"word");
        if (++calls % 7 == 0) client->Close();
        client->Send(u"word");
    };
    client->SetMessageHandler([&](const WideString&) { sendAndClose(); });
    client->SetCloseHandler(sendAndClose);
    for (int round = 0; round < rounds; ++round) {
        if (round % 3 != 0) client->Close();
        EXPECT_TRUE(client->Connect()) << round;
    }
    client->Close();
    EXPECT_EQ(client->GetState(), ChannelClosed);
    EXPECT_GE(calls, rounds) << "each close is told";
}

TEST_F(WebSocketsClientTest, AFailedAttemptReachesNoHandler) {
    WebSocketServer refusing(ServerManner::Refuses);
    for (const WideString& uri : {refusing.Uri(), WideString(u"ws://127.0.0.1:1/"),
                                  WideString(u"http://127.0.0.1/"), WideString(u"ws://%")}) {
        Make(uri);
        EXPECT_FALSE(client->Connect()) << ToUtf8(uri);
        EXPECT_EQ(client->GetState(), ChannelClosed);
    }
    client.reset();
    EXPECT_THAT(log.Take(), testing::IsEmpty());
    EXPECT_THROW(Make(u""), std::invalid_argument);
}

TEST_F(WebSocketsClientTest, TellsEachLossOnce) {
    for (const auto manner :
         {ServerManner::VanishesOnWord, ServerManner::ClosesOnWord, ServerManner::ClosesAtOnce}) {
        WebSocketServer server(manner);
        Make(server.Uri());
        client->SetCloseHandler([this] {
            client->Close();
            log.Note(client->Send(u"too late") ? "sent" : "closed");
        });
        const bool connected = client->Connect();
        EXPECT_TRUE(connected || manner == ServerManner::ClosesAtOnce);
        if (!connected) continue;
        client->Send(u"word");
        EXPECT_THAT(log.Take("closed"), ElementsAre("connected", "closed")) << static_cast<int>(manner);
        EXPECT_EQ(client->GetState(), ChannelClosed);
        client.reset();
        EXPECT_THAT(log.Take(), testing::IsEmpty()) << static_cast<int>(manner);
    }
}

// Else the library would wait for itself.
TEST_F(WebSocketsClientTest, AHandlerMayCloseAndDestroy) {
    TestEnvironment::Get().config.Set(u"Register.Agent.TestMode", u"1");
    for (const auto manner : {ServerManner::Echoes, ServerManner::ClosesOnWord}) {
        WebSocketServer server(manner);
        std::promise<void> sent;
        std::promise<void> done;
        Make(server.Uri());
        const auto destroy = [&] {
            sent.get_future().wait();
            client->Close();
            client.reset();
            done.set_value();
        };
        client->SetMessageHandler([&](const WideString&) { destroy(); });
        client->SetCloseHandler(destroy);
        ASSERT_TRUE(client->Connect());
        EXPECT_TRUE(client->Send(u"word"));
        sent.set_value();
        done.get_future().wait();
    }
}

}  // namespace
}  // namespace orrery::test
