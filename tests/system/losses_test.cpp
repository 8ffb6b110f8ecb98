
#include "system/system_test.h"

namespace orrery::system_test {
namespace {

using boost::asio::ip::tcp;

const Json clear = {{"RealtimeClear", Json::object()}};

class LossesTest : public SystemTest {
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

TEST_F(LossesTest, ComesBackWhenTheConnectionOrTheHubDies) {
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
TEST_F(LossesTest, RealtimeClearLeavesAPeerThatHangs) {
    StartBoth();
    Disconnect("stall");
    EXPECT_EQ(RunAgent({"event", clear.dump()}), std::pair(0, std::string("0\n")));
    ASSERT_TRUE(Registered(2));
    ExpectPushArrives();
}

TEST_F(LossesTest, StopsDuringAnAttemptAtASilentServer) {
    StartAtSilentServer();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(agent->End(), 0);
    // 5 for the library's step, 30 for the manager's thread if it is late.
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(35));
}

TEST_F(LossesTest, AServerThatIsSetDuringAnAttemptIsGoneTo) {
    StartHub();
    StartAtSilentServer();
    for (const std::string method : {"Bind", "CommandHub"})  // the bind first: it follows the connect
        Set("Communications.Method_" + method + ".Hostname", HubAddress());
    ASSERT_TRUE(Registered());
    ExpectPushArrives();
}

TEST_F(LossesTest, TwoHundredReconnectsLeaveNothingBehind) {
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

}  // namespace
}  // namespace orrery::system_test
