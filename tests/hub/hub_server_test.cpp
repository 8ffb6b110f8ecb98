#include "hub/server/hub_server.h"

#include <gmock/gmock.h>

#include "running_hub.h"

namespace orrery::hub {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

std::string DeviceFrame(int type, const std::string& device, const std::string& parameters = {}) {
    return R"({"Type":)" + std::to_string(type) + R"(,"DeviceId":")" + device + R"(","Parameters":{)" +
           parameters + "}}";
}

const std::string topicT = R"("Topics":["t","t"])";
const char* const errorFrame = R"({"Type":3,"Parameters":{"Message":")";
const char* const welcome = R"({"Type":20,"Parameters":{"SessiondId":")";

class Devices : public RunningHub {
  protected:
    using RunningHub::RunningHub;

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

    std::string Push(size_t number) {
        return Api("POST", "/api/push", R"({"topic":"t","message":{"n":)" + std::to_string(number) + "}}");
    }
    bool DevicesBecome(size_t count) {
        const std::string wanted = R"({"devices":)" + std::to_string(count) + "}";
        return test::Eventually([&] { return Api("GET", "/api/health") == wanted; });
    }
};

Received Pushed(size_t number) {
    const std::string message = R"("{\"n\":)" + std::to_string(number) + "}\"";
    return {Text, R"({"Type":100,"Parameters":{"Topic":"t","Message":)" + message + "}}", 0};
}

TEST_F(Devices, AnswersAConversationInTheLetterOfTheProtocol) {
    HubClient device(server.Port());
    ASSERT_EQ(device.Upgrade(), 101);
    EXPECT_THAT(Answer(device, DeviceFrame(12, "a", topicT)), StartsWith(errorFrame)) << "not registered";
    const std::string session = Answer(device, DeviceFrame(10, "a")).substr(std::string(welcome).size(), 36);
    Subscribe(device, "a");
    const char* const push = R"({"topic":"t","messages":[{"z":"ü","a":2.50},"{raw"]})";
    EXPECT_EQ(Api("POST", "/api/push", push), R"({"reached":1})");
    EXPECT_EQ(device.Receive().payload,
              R"({"Type":100,"Parameters":{"Topic":"t","Message":"{\"z\":\"ü\",\"a\":2.5}"}})");
    EXPECT_EQ(device.Receive().payload, R"({"Type":100,"Parameters":{"Topic":"t","Message":"{raw"}})");
    EXPECT_EQ(Api("POST", "/api/push", R"({"topic":"T","message":{}})"), R"({"reached":0})");
    EXPECT_THAT(Answer(device, DeviceFrame(13, "b", topicT)), StartsWith(errorFrame)) << "not its own id";
    EXPECT_THAT(Api("GET", "/api/devices"), StartsWith(R"([{"device":"a","connected":true,"session":")" +
                                                       session + R"(","topics":["t"],"connectedSince":")"));
    device.SendFrame(DeviceFrame(13, "a", topicT));
    EXPECT_EQ(Answer(device, DeviceFrame(11, "a")), R"({"Type":21,"Parameters":{}})");
    EXPECT_THAT(Answer(device, "{}"), StartsWith(errorFrame));
    EXPECT_TRUE(DevicesBecome(0));
}

TEST_F(Devices, KeepsOneLinkForEachDeviceAndOneDeviceForEachLink) {
    const auto first = Device("a"), second = Registered("a");
    EXPECT_EQ(first->Receive(), (Received{Close, "", 1000}));
    EXPECT_EQ(Push(1), R"({"reached":0})") << "topics of the registration before";
    EXPECT_THAT(Answer(*second, DeviceFrame(10, "x\\ny")), StartsWith(welcome));
    EXPECT_TRUE(DevicesBecome(1));
    EXPECT_THAT(Api("GET", "/api/devices?all=1"),
                AllOf(HasSubstr(R"({"device":"a","connected":false)"), HasSubstr(R"("registrations":2)"),
                      HasSubstr(R"({"device":"x\ny","connected":true)")));
}

TEST_F(Devices, PushesArriveInOrderAndASlowDeviceHoldsNobodyUp) {
    const auto slow = Device("slow"), quick = Device("quick");
    Api("POST", "/api/frame?device=slow", std::string(20'000'000, 'x'));
    std::string many = R"({"topic":"t","messages":[{"n":0})";
    for (size_t i = 1; i < 1000; ++i) many += R"(,{"n":)" + std::to_string(i) + "}";
    EXPECT_EQ(Api("POST", "/api/push", many + "]}"), R"({"reached":2})");
    for (size_t i = 0; i < 1000; ++i) ASSERT_EQ(quick->Receive(), Pushed(i));
    EXPECT_EQ(slow->Receive().payload.size(), 20'000'000u);
    for (size_t i = 0; i < 1000; ++i) ASSERT_EQ(slow->Receive(), Pushed(i));
}

TEST_F(Devices, DeviceThatNeverReadsIsDroppedAtTheLimitOfItsQueue) {
    const auto device = Device("a");
    for (int i = 0; i < 5; ++i) Api("POST", "/api/frame?device=a", std::string(60'000'000, 'x'));
    EXPECT_TRUE(DevicesBecome(0));
}

TEST_F(Devices, HostileFramesCostAnErrorOrTheConnectionButNotTheHub) {
    const auto device = Device("a"), large = Device("b");
    const std::string open(513, '['), shut(513, ']');
    for (const std::string& bytes :
         {std::string(), std::string("nonsense"), std::string(5'000'000, '['),
          R"({"Type":10,"DeviceId":"a","x":)" + open + shut + "}",
          std::string(R"({"Type":10.0,"DeviceId":"a"})"), DeviceFrame(13, "a", R"("Topics":["t",1])")}) {
        EXPECT_THAT(Answer(*device, bytes), StartsWith(errorFrame)) << bytes.substr(0, 40);
    }
    EXPECT_THAT(Answer(*device, "{}", Binary), StartsWith(errorFrame));
    EXPECT_EQ(Push(1), R"({"reached":2})");
    EXPECT_EQ(device->Receive(), Pushed(1));
    EXPECT_THAT(Answer(*device, DeviceFrame(10, "\\\"" + open)), StartsWith(welcome)) << "within a text";
    const std::string deepest = R"({"Type":10,"DeviceId":"a","x":)" + open.substr(2) + shut.substr(2) + "}";
    EXPECT_THAT(Answer(*device, deepest), StartsWith(welcome));

    device->SendFrame("\xff");
    EXPECT_EQ(device->Receive().code, 1007);
    large->Receive();
    large->SendBytes({"\x81\xff\0\0\0\0\x01\0\0\x01\0\0\0\0", 14});
    EXPECT_EQ(large->Receive().code, 1009);
    EXPECT_TRUE(DevicesBecome(0));
}

TEST_F(Devices, ConnectionsEndAsAsked) {
    const auto closed = Device("closed"), mute = Device("mute");
    Push(1);
    for (const auto& device : {&closed, &mute}) {
        const std::string id = device == &mute ? "mute" : "closed";
        Api("POST", "/api/disconnect", R"({"how":"close","code":4999,"device":")" + id + "\"}");
        EXPECT_EQ((*device)->Receive(), Pushed(1));
        EXPECT_EQ((*device)->Receive(), (Received{Close, "", 4999}));
    }
    closed->SendFrame("\x03\xe8", Close);
    EXPECT_EQ(closed->Receive().opcode, Ended);
    EXPECT_TRUE(clock.AdvanceWaiter(4) && clock.AdvanceWaiter(1))
        << "its own close frame has 5 seconds to come";
    EXPECT_EQ(mute->Receive().opcode, Reset);
    EXPECT_TRUE(DevicesBecome(0));
}

TEST_F(Devices, AStalledOneStaysUntilItLetsGo) {
    auto device = Device("a");
    Api("POST", "/api/disconnect", R"({"device":"a","how":"stall"})");
    device->SendFrame(DeviceFrame(11, "a"));
    EXPECT_TRUE(clock.AdvanceWaiter(1) && clock.AdvanceWaiter(1));
    EXPECT_EQ(Push(1), R"({"reached":1})");
    device.reset();
    EXPECT_TRUE(test::Eventually([this] { return clock.Advance(1), Push(2) == R"({"reached":0})"; }));
}

TEST_F(Devices, AClientThatDoesNotCloseIsCutOff) {
    api.Send("GET", "/api/health", "", "Connection: close\r\n");
    EXPECT_EQ(api.ReadAnswer(), 200);
    EXPECT_EQ(api.Read(1), "");
    EXPECT_TRUE(clock.AdvanceWaiter(1) && clock.AdvanceWaiter(1));
    EXPECT_TRUE(test::Eventually([this] { return !api.SendBytes("x"); }));
}

struct KeepAlive : Devices {
    KeepAlive() : Devices({.port = 0, .keepAliveSeconds = 120}) {}
};

TEST_F(KeepAlive, ComesAtItsInterval) {
    const auto device = Device("a");
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(clock.AdvanceWaiter(119) && clock.AdvanceWaiter(1));
        EXPECT_EQ(device->Receive(), (Received{Text, R"({"Type":2})", 0}));
    }
}

TEST_F(Devices, RefusesWhatItCannotDo) {
    const auto device = Device("a");
    const std::string push = "/api/push", end = "/api/disconnect";
    ExpectRefused({
        {400, "one of", "POST", push, R"({"topic":"t","message":{},"messages":[]})"},
        {400, "one of", "POST", push, R"({"topic":"t","messages":[{},1]})"},
        {405, "does not take GET", "GET", push},
        {404, "device b", "POST", end, R"({"device":"b","how":"drop"})"},
        {400, "how is", "POST", end, R"({"device":"a","how":"softly"})"},
        {400, "close frame", "POST", end, R"({"device":"a","how":"close","code":1005})"},
        {404, "no /commandhub", "GET", "/commandhub"},
    });
    EXPECT_EQ(Api("POST", "/%61pi/frame?x&device=%61&kind=binary", "%"), "{}");
    EXPECT_EQ(device->Receive(), (Received{Binary, "%", 0}));
}

TEST_F(Devices, HostileRequestsCostTheConnectionOnly) {
    for (const std::string& bytes :
         {std::string("POST /api/pac HTTP/1.1\r\nContent-Length: 67108865\r\n\r\nxxxx"),
          "GET /" + std::string(20'000, 'x') + " HTTP/1.1\r\n\r\n"}) {
        HubClient client(server.Port());
        client.SendBytes(bytes);
        EXPECT_EQ(client.ReadAnswer(), bytes.starts_with("POST") ? 413 : 400);
    }
}

}  // namespace
}  // namespace orrery::hub
