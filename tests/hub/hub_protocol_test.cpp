#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "hub/device_handlers.h"
#include "hub/proxy_script_handlers.h"

namespace orrery::hub {
namespace {

using testing::ElementsAre;
using testing::StartsWith;
using Kind = DeviceFrame::Kind;

TEST(DeviceFrames, AreReadOrRefused) {
    struct Case {
        const char* name;
        std::string text;
        Kind kind;
        std::vector<std::string> topics = {};
    };
    const std::string open(513, '['), shut(513, ']');
    const Case cases[] = {
        {"keep-alive", "{}", Kind::KeepAlive},
        {"register", R"({"Type":10,"DeviceId":"a\"b","Parameters":{}})", Kind::Register},
        {"register without parameters", R"({"Type":10,"DeviceId":"a"})", Kind::Register},
        {"subscribe", R"({"Type":12,"Parameters":{"Topics":["Da","Ss"]}})", Kind::Subscribe, {"Da", "Ss"}},
        {"brackets within a text", R"({"Type":10,"DeviceId":"\")" + open + "\"}", Kind::Register},
        {"no JSON", "{\"Type\":10", Kind::Bad},
        {"too deep", R"({"Type":10,"DeviceId":"a","x":)" + open + shut + "}", Kind::Bad},
        {"type a fraction", R"({"Type":10.0,"DeviceId":"a"})", Kind::Bad},
        {"type of the server", R"({"Type":20,"DeviceId":"a"})", Kind::Bad},
        {"register without id", R"({"Type":10})", Kind::Bad},
        {"id a number", R"({"Type":10,"DeviceId":5})", Kind::Bad},
        {"no topics", R"({"Type":12,"Parameters":{}})", Kind::Bad},
        {"topic a number", R"({"Type":13,"Parameters":{"Topics":["a",1]}})", Kind::Bad},
    };
    for (const Case& c : cases) {
        const DeviceFrame frame = ReadDeviceFrame(c.text);
        EXPECT_EQ(frame.kind, c.kind) << c.name;
        EXPECT_EQ(frame.topics, c.topics) << c.name;
        EXPECT_EQ(frame.fault.empty(), c.kind != Kind::Bad) << c.name;
    }
}

struct FakeLink final : IDeviceLink {
    const LinkInfo& Info() const override { return info; }
    void Send(Frame frame, FrameKind) override { sent.push_back(*frame); }
    void Close(uint16_t code) override { closedWith = code; }
    void Drop() override {}
    void Stall() override {}

    LinkInfo info{"1.2.3.4:5", "PROXY p:1"};
    std::vector<std::string> sent;
    int closedWith = 0;
};

const char* const registerA = R"({"Type":10,"DeviceId":"a","Parameters":{}})";
const char* const registerB = R"({"Type":10,"DeviceId":"b","Parameters":{}})";
const char* const subscribeA = R"({"Type":12,"DeviceId":"a","Parameters":{"Topics":["t","t"]}})";
const char* const errorFrame = R"({"Type":3,"Parameters":{"Message":")";

struct Hub : testing::Test {
    HttpResponse Ask(const char* method, const char* target, const std::string& body = {}) {
        HttpRequest request;
        request.method = method;
        ReadTarget(target, request);
        request.body = body;
        return router.Handle(request);
    }

    Hub() {
        AddDeviceHandlers(router, hub);
        AddProxyScriptHandlers(router);
    }

    std::vector<std::string> log;
    DeviceHub hub{[this](const std::string& line) { log.push_back(line); }};
    Router router;
    FakeLink link, other;
};

TEST_F(Hub, AnswersAConversationInTheLetterOfTheProtocol) {
    hub.Received(link, subscribeA);
    hub.Received(link, registerA);
    hub.Received(link, subscribeA);
    hub.Received(link, "{}");
    const char* const push = R"({"topic":"t","messages":[{"z":"ü","a":2.50},"{raw"]})";
    EXPECT_EQ(Ask("POST", "/api/push", push).body, R"({"reached":1})");
    EXPECT_EQ(hub.Push("T", {"{}"}), 0u);
    hub.Received(link, R"({"Type":13,"DeviceId":"b","Parameters":{"Topics":["t"]}})");
    hub.SendKeepAlive();
    hub.ReceivedBinary(link);
    EXPECT_EQ(hub.Known().at("a").topics, std::vector<std::string>{"t"});
    EXPECT_EQ(hub.Known().at("a").frames, 5u);
    EXPECT_EQ(hub.Known().at("a").keepAlives, 1u);
    hub.Received(link, R"({"Type":11,"DeviceId":"a","Parameters":{}})");
    hub.Received(link, "{}");

    const std::string session = hub.Known().at("a").session;
    EXPECT_EQ(session.size(), 36u);
    EXPECT_THAT(
        link.sent,
        ElementsAre(StartsWith(errorFrame), R"({"Type":20,"Parameters":{"SessiondId":")" + session + R"("}})",
                    R"({"Type":100,"Parameters":{"Topic":"t","Message":"{\"z\":\"ü\",\"a\":2.5}"}})",
                    R"({"Type":100,"Parameters":{"Topic":"t","Message":"{raw"}})", StartsWith(errorFrame),
                    R"({"Type":2})", StartsWith(errorFrame), R"({"Type":21,"Parameters":{}})",
                    StartsWith(errorFrame)));
    EXPECT_EQ(hub.Connected(), 0u);
    EXPECT_EQ(link.closedWith, 0);
}

TEST_F(Hub, KeepsOneLinkForEachDeviceAndOneDeviceForEachLink) {
    hub.Received(link, registerA);
    hub.Received(link, subscribeA);
    hub.Received(other, registerA);
    EXPECT_EQ(link.closedWith, 1000);
    hub.Lost(link);
    EXPECT_EQ(hub.Connected(), 1u);
    EXPECT_EQ(hub.Push("t", {"{}"}), 0u) << "topics of the registration before";
    EXPECT_EQ(hub.Known().at("a").registrations, 2u);

    hub.Received(other, registerB);
    EXPECT_EQ(hub.Connected(), 1u);
    EXPECT_EQ(hub.Known().at("a").link, nullptr);
    EXPECT_EQ(other.closedWith, 0);
    hub.Lost(other);
    EXPECT_EQ(hub.Connected(), 0u);
    hub.Received(link, "{\"Type\":10,\"DeviceId\":\"x\\ny\"}");
    EXPECT_EQ(log.back().find('\n'), std::string::npos);
}

TEST_F(Hub, ListsConnectedAndKnownDevices) {
    hub.Received(link, registerA);
    hub.Received(other, registerB);
    hub.Received(other, R"({"Type":12,"DeviceId":"b","Parameters":{"Topics":["t","s"]}})");
    hub.Lost(link);
    const DeviceRecord& b = hub.Known().at("b");
    EXPECT_EQ(
        Ask("GET", "/api/devices").body,
        R"([{"device":"b","connected":true,"session":")" + b.session +
            R"(","topics":["t","s"],"connectedSince":")" + b.connectedSince +
            R"(","keepAlives":0,"frames":2,"registrations":1,"viaProxy":"PROXY p:1","remote":"1.2.3.4:5"}])");
    EXPECT_THAT(Ask("GET", "/api/devices?all=1").body, StartsWith(R"([{"device":"a","connected":false)"));
}

TEST_F(Hub, RefusesWhatItCannotDo) {
    hub.Received(link, registerA);
    struct Case {
        unsigned status;
        const char* method;
        const char* target;
        const char* body = "";
    };
    const Case cases[] = {
        {404, "GET", "/api/Devices"},
        {405, "DELETE", "/api/devices"},
        {400, "POST", "/api/push", R"({"topic":1,"message":{}})"},
        {400, "POST", "/api/push", R"({"topic":"t"})"},
        {400, "POST", "/api/push", R"({"topic":"t","message":{},"messages":[]})"},
        {400, "POST", "/api/push", R"({"topic":"t","messages":[{},1]})"},
        {404, "POST", "/api/frame?device=b"},
        {400, "POST", "/api/frame?device=a&kind=ping"},
        {200, "POST", "/api/frame?kind=binary&device=%61"},
        {400, "POST", "/api/disconnect", R"({"device":"a","how":"close","code":1005})"},
        {404, "POST", "/api/disconnect", R"({"device":"b","how":"drop"})"},
        {200, "POST", "/api/disconnect", R"({"device":"a","how":"close","code":4001})"},
        {404, "GET", "/proxy.pac"},
        {200, "POST", "/api/pac", "function FindProxyForURL() {}"},
        {200, "GET", "/proxy.pac?delay=60000"},
        {400, "GET", "/proxy.pac?delay=60001"},
    };
    for (const Case& c : cases) {
        const HttpResponse response = Ask(c.method, c.target, c.body);
        EXPECT_EQ(response.status, c.status) << c.method << ' ' << c.target << ' ' << c.body;
        EXPECT_EQ(response.body.starts_with(R"({"error":")"), c.status != 200) << response.body;
    }
    EXPECT_EQ(link.closedWith, 4001);
    EXPECT_EQ(Ask("GET", "/proxy.pac").contentType, "application/x-ns-proxy-autoconfig");
    EXPECT_EQ(Ask("PUT", "/api/push").headers["Allow"], "POST");
}

}  // namespace
}  // namespace orrery::hub
