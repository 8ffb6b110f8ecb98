// The channel as it is seen from outside: what it carries, how it is lost and how it comes back.
#include "system/system_test.h"

namespace orrery::system_test {
namespace {

using boost::asio::ip::tcp;

const Json clear = {{"RealtimeClear", Json::object()}};

class ChannelTest : public SystemTest {
  protected:
    // A server that takes connections, for the system completes them, and never says a word.
    void StartAtSilentServer() {
        Install("ws://127.0.0.1:" + std::to_string(silent.local_endpoint().port()));
        StartAgent();
        silent.non_blocking(true);
        boost::system::error_code failed;
        ASSERT_TRUE(Eventually([&] { return !silent.accept(caller, failed); }));
    }

    // Threads, or resident kilobytes.
    size_t Figure(const std::string& name) const {
        const std::string status = ReadFile(agent->Folder() + "/status");
        return std::stoul(status.substr(status.find(name) + name.size()));
    }
    auto DescriptorCount() const {
        return std::distance(std::filesystem::directory_iterator(agent->Folder() + "/fd"), {});
    }

    boost::asio::io_context context;
    tcp::acceptor silent{context, {boost::asio::ip::address_v4::loopback(), 0}};
    tcp::socket caller{context};
};

TEST_F(ChannelTest, ComesBackWhenTheConnectionOrTheHubDies) {
    StartBoth();
    Disconnect("drop");
    ASSERT_TRUE(Registered(2));
    Disconnect("close");
    ASSERT_TRUE(Registered(3));
    hub->End(SIGKILL);
    StartHub();
    ASSERT_TRUE(Registered(1));
    ExpectPushArrives();
}

// Nothing tells the agent that the peer is silent: it takes RealtimeClear to leave it.
TEST_F(ChannelTest, RealtimeClearLeavesAPeerThatHangs) {
    StartBoth();
    Disconnect("stall");
    EXPECT_EQ(RunAgent({"event", clear.dump()}), std::pair(0, std::string("0\n")));
    ASSERT_TRUE(Registered(2));
    ExpectPushArrives();
}

TEST_F(ChannelTest, StopsDuringAnAttemptAtASilentServer) {
    StartAtSilentServer();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(agent->End(), 0);
    // 5 for the library's step, 30 for the manager's thread if it is late.
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(35));
}

TEST_F(ChannelTest, AServerThatIsSetDuringAnAttemptIsGoneTo) {
    StartHub();
    StartAtSilentServer();
    for (const std::string method : {"Bind", "CommandHub"})  // the bind first: it follows the connect
        Set("Communications.Method_" + method + ".Hostname", HubAddress());
    ASSERT_TRUE(Registered());
    ExpectPushArrives();
}

TEST_F(ChannelTest, TwoHundredReconnectsLeaveNothingBehind) {
    StartBoth();
    [[maybe_unused]] size_t threads = 0, memory = 0;
    std::ptrdiff_t descriptors = 0;
    for (size_t reconnect = 1; reconnect <= 200; ++reconnect) {
        reconnect % 10 == 0 ? Disconnect("drop") : void(Push({clear}));
        ASSERT_TRUE(Registered(reconnect + 1));
        if (reconnect != 20) continue;
        threads = Figure("Threads:");
        memory = Figure("VmRSS:");
        descriptors = DescriptorCount();
    }
    EXPECT_TRUE(Eventually([&] { return Figure("Threads:") <= threads; }));
    EXPECT_TRUE(Eventually([&] { return DescriptorCount() <= descriptors; }));
    // The sanitizers keep freed memory back for a while, and the history of what was done with it.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    EXPECT_LE(Figure("VmRSS:"), memory + 2048);  // kilobytes
#endif
}

TEST_F(ChannelTest, TenThousandAreRaisedInTheirOrder) {
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
TEST_F(ChannelTest, HostileFramesChangeNothing) {
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

TEST_F(ChannelTest, ComesBackFromFramesThatEndTheConnection) {
    StartBoth();
    SendFrame("\"\xC3\x28\"");
    ASSERT_TRUE(Registered(2));
    SendFrame(std::string(32'000'001, ' '));
    ASSERT_TRUE(Registered(3));
    ExpectPushArrives();
}

TEST_F(ChannelTest, ATraceOfFunctionsHearsThemComeAndGo) {
    const std::string verboseFunctions = "5,2,";
    StartHub();
    Install("ws://" + HubAddress());
    StartAgent({{"ORRERY_TRACE", verboseFunctions + PathOf("trace")}});
    ASSERT_TRUE(Registered());
    for (const std::string function :
         {"CRealtimeManager::Start", "WebSocketsClient::Connect", "WirelinkRequestDispatcher::Send",
          "CPluginEventHandlers::ExecuteEventHandler"}) {
        EXPECT_TRUE(Traced(function + " exit"));
        const std::string trace = folder.Read("trace");
        EXPECT_LT(trace.find(function + " enter"), trace.find(function + " exit"));
    }
}

}  // namespace
}  // namespace orrery::system_test
