#include <gtest/gtest.h>
#include <sys/stat.h>

#include <future>

#include "agent/control/control_client.h"
#include "agent/control/control_server.h"
#include "agent/control/control_socket.h"
#include "support/temporary_folder.h"

namespace orrery::agent {
namespace {

class ControlSocketTest : public testing::Test {
  protected:
    ControlSocketTest() { std::filesystem::create_directory(home); }

    // The answer; the server is polled on this thread meanwhile, as the main loop does.
    std::string Ask(const std::string& request) {
        auto client = std::async(std::launch::async, [&] {
            std::string answer, failure;
            return AskAgent(home, request, answer, failure) ? answer : "! " + failure;
        });
        while (server && client.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
            std::vector<pollfd> descriptors;
            server->AppendDescriptors(descriptors);
            poll(descriptors.data(), descriptors.size(), 10);
            server->Serve(descriptors);
        }
        return client.get();
    }

    const TemporaryFolder scratch;
    const std::string home = scratch.PathOf(std::string(200, 'h'));  // longer than a socket's name may be
    std::string problem;
    std::unique_ptr<ControlServer> server;
};

TEST_F(ControlSocketTest, CarriesRequestsOfAnySizeWhoeverElseStaysSilent) {
    server = ControlServer::Open(
        home, [](const std::string& request, auto reply) { reply->Send(std::to_string(request.size())); },
        problem);
    ASSERT_TRUE(server) << problem;
    std::vector<FileDescriptor> silent;
    for (int i = 0; i < 100; ++i) silent.push_back(ConnectToHome(home, problem));
    EXPECT_EQ(Ask("status\n"), "7");
    EXPECT_EQ(Ask(std::string(3'000'000, 'x')), "3000000");
    struct stat info {};
    ASSERT_EQ(stat((home + "/agent.sock").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
}

TEST_F(ControlSocketTest, ASocketLeftBehindIsReplaced) {
    { const FileDescriptor left = ListenInHome(home, problem); }
    EXPECT_FALSE(ConnectToHome(home, problem).IsOpen());
    const FileDescriptor again = ListenInHome(home, problem);
    EXPECT_TRUE(ConnectToHome(home, problem).IsOpen());
}

}  // namespace
}  // namespace orrery::agent
