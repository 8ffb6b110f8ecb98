#include "hub/server/hub_server.h"

#include <gmock/gmock.h>

#include <chrono>
#include <thread>

#include "hub_client.h"
#include "support/call_log.h"

namespace orrery::hub {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;
using Clock = std::chrono::steady_clock;

HubOptions AnyPort(uint32_t keepAliveSeconds = 0) {
    HubOptions options;
    options.port = 0;
    options.keepAliveSeconds = keepAliveSeconds;
    return options;
}

std::string DeviceFrame(int type, const std::string& device, const std::string& parameters = {}) {
    return R"({"Type":)" + std::to_string(type) + R"(,"DeviceId":")" + device + R"(","Parameters":{)" +
           parameters + "}}";
}

const std::string topicT = R"("Topics":["t","t"])";
const char* const errorFrame = R"({"Type":3,"Parameters":{"Message":")";
const char* const welcome = R"({"Type":20,"Parameters":{"SessiondId":")";

class RunningHub : public testing::Test {
  protected:
    ~RunningHub() override {
        server.Stop();
        thread.join();
    }

    static std::string Answer(HubClient& device, const std::string& frame, Opcode opcode = Text) {
        device.SendFrame(frame, opcode);
        return device.Receive().payload;
    }
    std::unique_ptr<HubClient> Registered(const std::string& id) {
        auto device = std::make_unique<HubClient>(server.Port());
        EXPECT_EQ(device->Upgrade(), 101);
        EXPECT_THAT(Answer(*device, DeviceFrame(10, id)), StartsWith(welcome));
        return device;
    }
    static void Subscribe(HubClient& device, const std::string& id) {
        device.SendFrame(DeviceFrame(12, id, topicT));
        device.SendFrame("", Ping);  // its pong says that the subscription has been read
        EXPECT_EQ(device.Receive().opcode, Pong);
    }
    std::unique_ptr<HubClient> Device(const std::string& id) {
        auto device = Registered(id);
        Subscribe(*device, id);
        return device;
    }

    std::string Ask(const std::string& method, const std::string& target, const std::string& body = {}) {
        EXPECT_EQ(http.Http(method, target, body), 200) << http.answer;
        return http.answer;
    }
    std::string Push(size_t number) {
        return Ask("POST", "/api/push", R"({"topic":"t","message":{"n":)" + std::to_string(number) + "}}");
    }
    bool DevicesBecome(size_t count) {
        const std::string wanted = R"({"devices":)" + std::to_string(count) + "}";
        return test::Eventually([&] { return Ask("GET", "/api/health") == wanted; });
    }

    HubServer server{AnyPort(), [](const std::string& line) { EXPECT_EQ(line.find('\n'), line.npos); }};
    std::thread thread{[this] { server.Run(); }};
    HubClient http{server.Port()};
};

Received Pushed(size_t number) {
    const std::string message = R"("{\"n\":)" + std::to_string(number) + "}\"";
    return {Text, R"({"Type":100,"Parameters":{"Topic":"t","Message":)" + message + "}}", 0};
}

TEST_F(RunningHub, AnswersAConversationInTheLetterOfTheProtocol) {
    HubClient device(server.Port());
    ASSERT_EQ(device.Upgrade(), 101);
    EXPECT_THAT(Answer(device, DeviceFrame(12, "a", topicT)), StartsWith(errorFrame)) << "not registered";
    const std::string session = Answer(device, DeviceFrame(10, "a")).substr(std::string(welcome).size(), 36);
    Subscribe(device, "a");
    device.SendFrame("{}");
    const char* const push = R"({"topic":"t","messages":[{"z":"ü","a":2.50},"{raw"]})";
    EXPECT_EQ(Ask("POST", "/api/push", push), R"({"reached":1})");
    EXPECT_EQ(device.Receive().payload,
              R"({"Type":100,"Parameters":{"Topic":"t","Message":"{\"z\":\"ü\",\"a\":2.5}"}})");
    EXPECT_EQ(device.Receive().payload, R"({"Type":100,"Parameters":{"Topic":"t","Message":"{raw"}})");
    EXPECT_EQ(Ask("POST", "/api/push", R"({"topic":"T","message":{}})"), R"({"reached":0})");
    EXPECT_THAT(Answer(device, DeviceFrame(13, "b", topicT)), StartsWith(errorFrame)) << "not its own id";
    EXPECT_THAT(Ask("GET", "/api/devices"),
                AllOf(StartsWith(R"([{"device":"a","connected":true,"session":")" + session +
                                 R"(","topics":["t"],"connectedSince":")"),
                      HasSubstr(R"("keepAlives":1,"frames":4,"registrations":1,)")));
    EXPECT_EQ(Answer(device, DeviceFrame(11, "a")), R"({"Type":21,"Parameters":{}})");
    EXPECT_THAT(Answer(device, "{}"), StartsWith(errorFrame));
    EXPECT_TRUE(DevicesBecome(0));
}

TEST_F(RunningHub, KeepsOneLinkForEachDeviceAndOneDeviceForEachLink) {
    const auto first = Device("a"), second = Registered("a");
    EXPECT_EQ(first->Receive(), (Received{Close, "", 1000}));
    EXPECT_EQ(Push(1), R"({"reached":0})") << "topics of the registration before";
    EXPECT_THAT(Answer(*second, DeviceFrame(10, "x\\ny")), StartsWith(welcome));
    EXPECT_TRUE(DevicesBecome(1));
    EXPECT_THAT(Ask("GET", "/api/devices?all=1"),
                AllOf(HasSubstr(R"({"device":"a","connected":false)"), HasSubstr(R"("registrations":2)"),
                      HasSubstr(R"({"device":"x\ny","connected":true)")));
}

TEST_F(RunningHub, PushesArriveInOrderAndASlowDeviceHoldsNobodyUp) {
    const auto slow = Device("slow"), quick = Device("quick");
    Ask("POST", "/api/frame?device=slow", std::string(20'000'000, 'x'));
    std::string many = R"({"topic":"t","messages":[{"n":0})";
    for (size_t i = 1; i < 900; ++i) many += R"(,{"n":)" + std::to_string(i) + "}";
    EXPECT_EQ(Ask("POST", "/api/push", many + "]}"), R"({"reached":2})");
    for (size_t i = 900; i < 1000; ++i) Push(i);
    for (size_t i = 0; i < 1000; ++i) ASSERT_EQ(quick->Receive(), Pushed(i));
    EXPECT_EQ(slow->Receive().payload.size(), 20'000'000u);
    for (size_t i = 0; i < 1000; ++i) ASSERT_EQ(slow->Receive(), Pushed(i));
}

TEST_F(RunningHub, DeviceThatNeverReadsIsDroppedAtTheLimitOfItsQueue) {
    const auto device = Device("a");
    for (int i = 0; i < 5; ++i) Ask("POST", "/api/frame?device=a", std::string(60'000'000, 'x'));
    EXPECT_TRUE(DevicesBecome(0));
}

TEST_F(RunningHub, HostileFramesCostAnErrorOrTheConnectionButNotTheHub) {
    const auto device = Device("a"), garbage = Device("b"), large = Device("c");
    const std::string open(513, '['), shut(513, ']');
    for (const std::string& bytes : {std::string(), std::string("nonsense"), std::string(5'000'000, '['),
                                     R"({"Type":10,"DeviceId":"a","x":)" + open + shut + "}",
                                     std::string(R"({"Type":10.0,"DeviceId":"a"})"), DeviceFrame(20, "a"),
                                     std::string(R"({"Type":10,"DeviceId":5})"), DeviceFrame(12, "a"),
                                     DeviceFrame(13, "a", R"("Topics":["t",1])")}) {
        EXPECT_THAT(Answer(*device, bytes), StartsWith(errorFrame)) << bytes.substr(0, 40);
    }
    EXPECT_THAT(Answer(*device, "{}", Binary), StartsWith(errorFrame));
    EXPECT_EQ(Push(1), R"({"reached":3})");
    EXPECT_EQ(device->Receive(), Pushed(1));
    EXPECT_THAT(Answer(*device, DeviceFrame(10, "\\\"" + open)), StartsWith(welcome)) << "within a text";

    device->SendFrame("\xff");
    EXPECT_EQ(device->Receive().code, 1007);
    garbage->Receive();
    garbage->SendBytes(std::string(14, '\xff'));
    EXPECT_EQ(garbage->Receive().code, 1002);
    large->Receive();
    large->SendBytes({"\x81\xff\0\0\0\0\x01\0\0\x01\0\0\0\0", 14});
    EXPECT_EQ(large->Receive().code, 1009);
    EXPECT_TRUE(DevicesBecome(0));
}

TEST_F(RunningHub, ConnectionsEndAsAsked) {
    const auto closed = Device("closed"), dropped = Device("dropped");
    Push(1);
    Ask("POST", "/api/disconnect", R"({"device":"closed","how":"close"})");
    EXPECT_EQ(closed->Receive(), Pushed(1));
    EXPECT_EQ(closed->Receive(), (Received{Close, "", 1000}));
    closed->SendFrame("\x03\xe8", Close);
    EXPECT_EQ(closed->Receive().opcode, Ended);
    dropped->Receive();
    Ask("POST", "/api/disconnect", R"({"device":"dropped","how":"drop"})");
    EXPECT_EQ(dropped->Receive().opcode, Reset);
}

TEST_F(RunningHub, RefusesWhatItCannotDo) {
    const auto device = Device("a");
    struct Case {
        int status;
        std::string method, target, body = {};
    };
    const Case cases[] = {
        {400, "POST", "/api/push", R"({"topic":1,"message":{}})"},
        {404, "POST", "/api/frame?device=b"},
        {200, "POST", "/api/frame?kind=binary&device=%61"},
        {400, "POST", "/api/disconnect", R"({"device":"a","how":"close","code":1005})"},
        {200, "POST", "/api/disconnect", R"({"device":"a","how":"close","code":4001})"},
        {404, "GET", "/proxy.pac"},
        {200, "POST", "/api/pac", "script"},
        {404, "GET", "/commandhub"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(http.Http(c.method, c.target, c.body), c.status) << c.method << ' ' << c.target << c.body;
    }
    EXPECT_EQ(device->Receive(), (Received{Binary, "", 0}));
    EXPECT_EQ(device->Receive().code, 4001);
    const std::pair<int, std::string> hostile[] = {
        {413, "POST /api/pac HTTP/1.1\r\nContent-Length: 67108865\r\n\r\nxxxx"},
        {400, "GET /" + std::string(20'000, 'x') + " HTTP/1.1\r\n\r\n"}};
    for (const auto& [status, bytes] : hostile) {
        HubClient client(server.Port());
        client.SendBytes(bytes);
        EXPECT_EQ(client.ReadAnswer(), status) << bytes.substr(0, 40);
    }
}

TEST_F(RunningHub, HoldsAThousandDevices) {
    const auto began = Clock::now();
    std::vector<std::unique_ptr<HubClient>> devices;
    for (int i = 0; i < 1000; ++i) devices.push_back(Device("d" + std::to_string(i)));
    for (size_t n = 0; n < 3; ++n) {
        EXPECT_EQ(Push(n), R"({"reached":1000})");
        for (const auto& device : devices) ASSERT_EQ(device->Receive(), Pushed(n));
    }
    devices.clear();
    EXPECT_TRUE(DevicesBecome(0));
    EXPECT_LT(Clock::now() - began, std::chrono::seconds(30));
}

}  // namespace
}  // namespace orrery::hub
