#include "hub/hub_server.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "hub_client.h"

namespace orrery::hub {
namespace {

using Clock = std::chrono::steady_clock;

HubOptions AnyPort(uint32_t keepAliveSeconds = 0) {
    HubOptions options;
    options.port = 0;
    options.keepAliveSeconds = keepAliveSeconds;
    return options;
}

struct RunningHub : testing::Test {
    ~RunningHub() override {
        server.Stop();
        thread.join();
    }

    std::unique_ptr<HubClient> Device(const std::string& id, const std::string& topic) {
        auto device = std::make_unique<HubClient>(server.Port());
        EXPECT_TRUE(device->Register(id));
        device->Subscribe(id, topic);
        device->SendFrame("", Ping);  // its pong says that the subscription has been read
        EXPECT_EQ(device->Receive().opcode, Pong);
        return device;
    }

    std::string Ask(const std::string& method, const std::string& target, const std::string& body = {}) {
        EXPECT_EQ(http.Http(method, target, body), 200) << http.answer;
        return http.answer;
    }

    void Disconnect(const std::string& device, const std::string& how) {
        Ask("POST", "/api/disconnect", R"({"device":")" + device + R"(","how":")" + how + R"("})");
    }

    bool DevicesBecome(size_t count) {
        const std::string wanted = R"({"devices":)" + std::to_string(count) + "}";
        for (const auto end = Clock::now() + std::chrono::seconds(10); Clock::now() < end;
             std::this_thread::yield()) {
            if (Ask("GET", "/api/health") == wanted) return true;
        }
        return false;
    }

    HubServer server{AnyPort(), {}};
    std::thread thread{[this] { server.Run(); }};
    HubClient http{server.Port()};
};

Received Pushed(size_t number) {
    return {Text,
            R"({"Type":100,"Parameters":{"Topic":"t","Message":"{\"n\":)" + std::to_string(number) + "}\"}}",
            0};
}

TEST_F(RunningHub, PushesArriveInOrderAndASlowDeviceHoldsNobodyUp) {
    const auto slow = Device("slow", "t");
    const auto quick = Device("quick", "t");
    Ask("POST", "/api/frame?device=slow", std::string(20'000'000, 'x'));
    std::string many = R"({"topic":"t","messages":[{"n":0})";
    for (size_t i = 1; i < 900; ++i) many += R"(,{"n":)" + std::to_string(i) + "}";
    EXPECT_EQ(Ask("POST", "/api/push", many + "]}"), R"({"reached":2})");
    for (size_t i = 900; i < 1000; ++i)
        Ask("POST", "/api/push", R"({"topic":"t","message":{"n":)" + std::to_string(i) + "}}");
    for (size_t i = 0; i < 1000; ++i) ASSERT_EQ(quick->Receive(), Pushed(i));
    EXPECT_EQ(slow->Receive().payload.size(), 20'000'000u);
    for (size_t i = 0; i < 1000; ++i) ASSERT_EQ(slow->Receive(), Pushed(i));
}

TEST_F(RunningHub, DeviceThatNeverReadsIsDroppedAtTheLimitOfItsQueue) {
    const auto device = Device("a", "t");
    for (int i = 0; i < 5; ++i) Ask("POST", "/api/frame?device=a", std::string(60'000'000, 'x'));
    EXPECT_TRUE(DevicesBecome(0));
}

TEST_F(RunningHub, RawFramesTravelAsTheyAre) {
    const auto device = Device("a", "t");
    for (const std::string& bytes : {std::string(), std::string("\xff\xfe{"), std::string(5'000'000, '['),
                                     std::string(33'000'000, 'x')}) {
        Ask("POST", "/api/frame?device=a&kind=text", bytes);
        Ask("POST", "/api/frame?device=a&kind=binary", bytes);
        EXPECT_TRUE(device->Receive() == (Received{Text, bytes, 0}));
        EXPECT_TRUE(device->Receive() == (Received{Binary, bytes, 0}));
    }
}

TEST_F(RunningHub, HostileFramesCostAnErrorOrTheConnectionButNotTheHub) {
    const auto device = Device("a", "t");
    for (const std::string& bytes : {std::string(), std::string("nonsense"), std::string(5'000'000, '[')}) {
        device->SendFrame(bytes);
        EXPECT_TRUE(device->Receive().payload.starts_with(R"({"Type":3,)")) << bytes.substr(0, 10);
    }
    device->SendFrame("{}", Binary);
    EXPECT_TRUE(device->Receive().payload.starts_with(R"({"Type":3,)"));
    EXPECT_EQ(Ask("POST", "/api/push", R"({"topic":"t","message":{"n":1}})"), R"({"reached":1})");
    EXPECT_EQ(device->Receive(), Pushed(1));

    device->SendFrame("\xff");
    EXPECT_EQ(device->Receive().code, 1007);
    const auto garbage = Device("b", "t");
    garbage->SendBytes(std::string(14, '\xff'));
    EXPECT_EQ(garbage->Receive().code, 1002);
    const auto large = Device("c", "t");
    large->SendBytes({"\x81\xff\0\0\0\0\x01\0\0\x01\0\0\0\0", 14});
    EXPECT_EQ(large->Receive().code, 1009);
    EXPECT_TRUE(DevicesBecome(0));
}

TEST_F(RunningHub, ConnectionsEndAsAsked) {
    const auto closed = Device("closed", "t");
    Ask("POST", "/api/push", R"({"topic":"t","message":{"n":1}})");
    Disconnect("closed", "close");
    EXPECT_EQ(closed->Receive(), Pushed(1));
    EXPECT_EQ(closed->Receive(), (Received{Close, "", 1000}));
    closed->SendFrame("\x03\xe8", Close);
    EXPECT_EQ(closed->Receive().opcode, Ended);

    const auto dropped = Device("dropped", "t");
    Disconnect("dropped", "drop");
    EXPECT_EQ(dropped->Receive().opcode, Reset);

    const auto first = Device("twice", "t");
    const auto second = Device("twice", "t");
    EXPECT_EQ(first->Receive(), (Received{Close, "", 1000}));
    Ask("POST", "/api/push", R"({"topic":"t","message":{"n":2}})");
    EXPECT_EQ(second->Receive(), Pushed(2));
    EXPECT_TRUE(DevicesBecome(1));
}

TEST_F(RunningHub, StalledDeviceStaysUntilItGoes) {
    auto stalled = Device("a", "t");
    Disconnect("a", "stall");
    stalled->SendFrame("", Ping);
    EXPECT_EQ(Ask("POST", "/api/push", R"({"topic":"t","message":{}})"), R"({"reached":1})");
    EXPECT_TRUE(DevicesBecome(1));
    stalled.reset();
    EXPECT_TRUE(DevicesBecome(0));

    const auto again = Device("a", "t");
    Disconnect("a", "stall");
    Disconnect("a", "drop");
    EXPECT_EQ(again->Receive().opcode, Reset);
}

TEST_F(RunningHub, HttpFaultsAreAnswered) {
    struct Case {
        const char* name;
        std::string bytes;
        int status;
    };
    const Case cases[] = {
        {"body beyond the limit", "POST /api/pac HTTP/1.1\r\nContent-Length: 67108865\r\n\r\nxxxx", 413},
        {"no HTTP", "nonsense\r\n\r\n", 400},
        {"endless header", "GET /" + std::string(20'000, 'x') + " HTTP/1.1\r\n\r\n", 400},
        {"no upgrade at the WebSocket's path", "GET /commandhub HTTP/1.1\r\n\r\n", 404},
        {"chunked body", "POST /api/push HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n[]\r\n0\r\n\r\n",
         400},
        {"body held back", "POST /api/pac HTTP/1.1\r\nExpect: 100-continue\r\nContent-Length: 9\r\n\r\n",
         100},
    };
    for (const Case& c : cases) {
        HubClient client(server.Port());
        client.SendBytes(c.bytes);
        EXPECT_EQ(client.ReadAnswer(), c.status) << c.name;
    }
    EXPECT_EQ(HubClient(server.Port()).Upgrade("/elsewhere"), 404);
    EXPECT_EQ(HubClient(server.Port()).Upgrade("/commandhub?x=1", "x-zelko-viaproxy: p\r\n"), 101);

    Ask("POST", "/api/pac", "script");
    const auto asked = Clock::now();
    EXPECT_EQ(Ask("GET", "/proxy.pac?delay=50"), "script");
    EXPECT_GE(Clock::now() - asked, std::chrono::milliseconds(50));
}

TEST_F(RunningHub, HoldsAThousandDevices) {
    const auto began = Clock::now();
    std::vector<std::unique_ptr<HubClient>> devices;
    for (int i = 0; i < 1000; ++i) devices.push_back(Device("d" + std::to_string(i), "t"));
    for (size_t n = 0; n < 3; ++n) {
        EXPECT_EQ(Ask("POST", "/api/push", R"({"topic":"t","message":{"n":)" + std::to_string(n) + "}}"),
                  R"({"reached":1000})");
        for (const auto& device : devices) ASSERT_EQ(device->Receive(), Pushed(n));
    }
    devices.clear();
    EXPECT_TRUE(DevicesBecome(0));
    EXPECT_LT(Clock::now() - began, std::chrono::seconds(30));
}

TEST(HubServer, SaysGoodbyeWhenItStops) {
    HubServer server(AnyPort(1), {});
    std::thread thread([&] { server.Run(); });
    HubClient device(server.Port()), idle(server.Port());
    EXPECT_TRUE(device.Register("a"));
    EXPECT_EQ(device.Receive(), (Received{Text, R"({"Type":2})", 0}));
    const auto began = Clock::now();
    server.Stop();
    EXPECT_EQ(device.Receive().code, 1001);
    thread.join();
    EXPECT_LT(Clock::now() - began, std::chrono::seconds(1));
}

TEST(HubServer, SaysWhyItCannotStart) {
    HubServer first(AnyPort(), {});
    HubOptions busy = AnyPort(), unreadable = AnyPort(), nowhere = AnyPort();
    busy.port = first.Port();
    unreadable.tlsCertificate = "/nonexistent/certificate.pem";
    nowhere.address = "somewhere";
    for (const HubOptions& options : {busy, unreadable, nowhere})
        EXPECT_THROW(HubServer(options, {}), std::runtime_error);
}

}  // namespace
}  // namespace orrery::hub
