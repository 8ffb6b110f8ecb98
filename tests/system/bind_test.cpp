#include "system/system_test.h"

namespace orrery::system_test {
namespace {

const std::string target = "/webapi/bind";
const std::string lastSent = "Realtime.DeviceBind.LastInfoSent";
const std::string retryDelay = "Events.DeviceBind.RetryDelay";

class BindTest : public SystemTest {
  protected:
    // What a bind says, and what is stored when the server has taken it.
    std::string Text(int provider) const {
        const std::string recipient = Setting("Register.Notification.NotificationId");
        return Json{{"NotificationProvider", provider}, {"RecipientId", recipient}}.dump();
    }

    // These calls in the end, all well signed, and the last one stored.
    void ExpectBound(const std::vector<int>& providers) const {
        Json bodies;
        for (const int provider : providers) bodies.push_back(Text(provider));
        EXPECT_TRUE(Eventually([&] { return Setting(lastSent) == bodies.back(); }));
        EXPECT_TRUE(Eventually([&] { return Requests(target, "body") == bodies; })) << bodies;
        EXPECT_EQ(Requests(target, "authorized"), Json(bodies.size(), "ok"));
    }

    // How often the agent has told that.
    size_t Told(const std::string& text) const {
        const std::string output = folder.Read("agent.out");
        size_t count = 0;
        for (size_t at = output.find(text); at != output.npos; at = output.find(text, at + 1)) ++count;
        return count;
    }
};

TEST_F(BindTest, TheServerIsToldEachChangeOnce) {
    StartBoth({{"Realtime.Manager.BehaviourOnLostConnection", "1"},
               {"Realtime.Manager.MaxConnectionRetries", "1"},
               {"Realtime.Manager.RetriesWait", "3600"}});
    ExpectBound({6});
    EXPECT_EQ(Execute("NotificationCheck"), "0");
    EXPECT_EQ(Requests("/services/"), Json::array());
    EXPECT_EQ(Execute("DeviceBind"), "0");
    EXPECT_EQ(Execute("DeviceBind", {{"Force", true}}), "0");
    ExpectBound({6, 6});
    Disconnect("drop");
    ExpectBound({6, 6, 2});
    EXPECT_EQ(Execute("RealtimeClear"), "0");
    ExpectBound({6, 6, 2, 6});
    EXPECT_EQ(Execute("RealtimeDisable"), "0");
    ExpectBound({6, 6, 2, 6, 2});
    EXPECT_TRUE(Eventually([this] { return Retries().size() == 0; }));
    EXPECT_EQ(RunAgent({"messages", "--json"}).second, "[]\n");
}

TEST_F(BindTest, WhatFailsIsLeftToOneRetry) {
    const std::string faults[] = {R"({"status":403,"actions":{"Hello":{}}})",
                                  R"({"status":404})",
                                  R"({"status":500,"envelope":false})",
                                  R"({"gzip":"broken"})",
                                  R"({"cut":20})",
                                  R"({"status":304})"};
    StartHub({"--secret", "another"});
    StartWithoutChannel({{retryDelay, "3600"}});
    EXPECT_EQ(Execute("DeviceBind"), "0");
    EXPECT_EQ(Requests(target), Json::array({401}));
    EXPECT_TRUE(Eventually([this] { return Retries().size() == 1; }));
    hub->End();
    StartHub();
    for (size_t calls = 1; const std::string& fault : faults) {
        SCOPED_TRACE(fault);
        EXPECT_EQ(Setting(lastSent), "");
        Api("/api/faults", fault);
        EXPECT_EQ(Execute("DeviceBind"), "0");
        EXPECT_EQ(Requests(target).size(), calls++);
        EXPECT_TRUE(Eventually([&] { return Told(R"("executed","name":"SchedulerTaskAdd")") == calls; }));
        EXPECT_EQ(Retries().size(), 1);
    }
    EXPECT_EQ(Json::parse(Retries().front().get<std::string>())["ScheduleInfo"]["Offset"], "3600");
    EXPECT_EQ(Told(R"("raised","name":"Hello")"), 1);

    // 304 takes what was told, and is tried again all the same.
    EXPECT_EQ(Setting(lastSent), Text(2));
    EXPECT_EQ(Execute("DeviceBind"), "0");
    EXPECT_EQ(Requests(target).size(), std::size(faults));
    EXPECT_TRUE(Eventually([this] { return Retries().size() == 0; }));
}

// The hub is there late, and its refusal is what tells the agent its clock.
TEST_F(BindTest, RetriesGoOnUntilOneIsTaken) {
    hubPort = FreePort();
    StartWithoutChannel({{retryDelay, "1"}});
    EXPECT_EQ(Execute("DeviceBind"), "0");
    EXPECT_TRUE(Eventually([this] { return Retries().size() == 1; }));
    StartHub({"--clock-offset", "3600"});
    EXPECT_TRUE(Eventually([this] { return Setting(lastSent) == Text(2); }));
    EXPECT_TRUE(Eventually([this] { return Retries().empty(); }));
    EXPECT_EQ(Requests(target), Json({403, 200}));
}

TEST_F(BindTest, AHundredAtOnceAreOneCall) {
    StartHub();
    Api("/api/faults", R"({"status":500})");
    Install("ws://" + HubAddress());
    StartAgent();
    ASSERT_TRUE(Registered());
    EXPECT_TRUE(Push(std::vector<Json>(100, {{"DeviceBind", Json::object()}})));
    EXPECT_TRUE(Eventually([this] { return Told(R"("executed","name":"DeviceBind")") == 101; }));
    EXPECT_EQ(Requests(target), Json({500, 200}));
}

TEST_F(BindTest, TestModeKeepsWhatWasSaidWithoutItsSecrets) {
    StartBoth({{"Register.Agent.TestMode", "1"}});
    ExpectBound({6});
    EXPECT_TRUE(Push({{{"Sample", Json::object()}}}));
    std::string messages;
    EXPECT_TRUE(Eventually([&] {
        messages = RunAgent({"messages"}).second;
        for (int number = 1; number < 10; ++number)
            messages += RunAgent({"messages", std::to_string(number)}).second;
        return messages.find("Sample") != messages.npos;
    }));
    for (const char* part : {"Method_Bind ", "ZWS2 test-device:(hidden)", "\n[RESPONSE]\n", "Realtime_Get "})
        EXPECT_NE(messages.find(part), messages.npos) << part << " in " << messages;
}

}  // namespace
}  // namespace orrery::system_test
