#include <gmock/gmock.h>
#include <sys/stat.h>

#include <future>

#include "agent/control_client.h"
#include "agent/control_server.h"
#include "agent/control_socket.h"
#include "agent/home_lock.h"
#include "platform/temporary_folder.h"

namespace orrery::agent {
namespace {

using testing::HasSubstr;

// Polls the server on this thread until `client` has its answer, as the main loop does.
std::string Exchange(ControlServer& server, std::future<std::string> client) {
    while (client.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
        std::vector<pollfd> descriptors;
        server.AppendDescriptors(descriptors);
        poll(descriptors.data(), descriptors.size(), 10);
        server.Serve(descriptors);
    }
    return client.get();
}

std::future<std::string> Ask(const std::string& home, const std::string& request) {
    return std::async(std::launch::async, [=] {
        std::string answer, problem;
        return AskAgent(home, request, answer, problem) ? answer : "! " + problem;
    });
}

TEST(ControlSocket, CarriesRequestsOfAnySizeFromAHomeOfAnyDepth) {
    const TemporaryFolder scratch;
    const std::string home = scratch.PathOf(std::string(200, 'h'));
    std::filesystem::create_directory(home);
    std::string problem;
    const auto server = ControlServer::Open(
        home, [](const std::string& request, auto reply) { reply->Send(std::to_string(request.size())); },
        problem);
    ASSERT_TRUE(server) << problem;
    EXPECT_EQ(Exchange(*server, Ask(home, "status\n")), "7");
    EXPECT_EQ(Exchange(*server, Ask(home, std::string(3'000'000, 'x'))), "3000000");
    struct stat info {};
    ASSERT_EQ(stat((home + "/agent.sock").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
}

TEST(ControlSocket, ClientsThatStaySilentDoNotShutOthersOut) {
    const TemporaryFolder home;
    std::string problem;
    const auto server = ControlServer::Open(
        home.PathOf("."), [](const std::string&, auto reply) { reply->Send("yes"); }, problem);
    ASSERT_TRUE(server) << problem;
    std::vector<FileDescriptor> silent;
    for (int i = 0; i < 100; ++i) silent.push_back(ConnectToHome(home.PathOf("."), problem));
    EXPECT_EQ(Exchange(*server, Ask(home.PathOf("."), "x")), "yes");
}

TEST(ControlSocket, SaysWhenNoAgentIsThereOrItWentAway) {
    const TemporaryFolder home;
    std::string answer, problem;
    EXPECT_FALSE(AskAgent(home.PathOf("."), "x", answer, problem));
    EXPECT_THAT(problem, HasSubstr("no agent runs"));

    const auto server = ControlServer::Open(
        home.PathOf("."), [](const std::string&, auto) {}, problem);
    EXPECT_THAT(Exchange(*server, Ask(home.PathOf("."), "x")), HasSubstr("went away"));
}

TEST(ControlSocket, ASocketLeftBehindIsReplaced) {
    const TemporaryFolder home;
    std::string problem;
    { const FileDescriptor left = ListenInHome(home.PathOf("."), problem); }
    EXPECT_FALSE(ConnectToHome(home.PathOf("."), problem).IsOpen());
    const FileDescriptor again = ListenInHome(home.PathOf("."), problem);
    EXPECT_TRUE(ConnectToHome(home.PathOf("."), problem).IsOpen());
}

TEST(HomeLock, OneAtATime) {
    const TemporaryFolder home;
    std::string problem;
    HomeLock second;
    {
        HomeLock first;
        EXPECT_TRUE(first.Take(home.PathOf("agent.lock"), problem));
        EXPECT_FALSE(second.Take(home.PathOf("agent.lock"), problem));
        EXPECT_THAT(problem, HasSubstr("another agent"));
    }
    EXPECT_TRUE(second.Take(home.PathOf("agent.lock"), problem));
}

}  // namespace
}  // namespace orrery::agent
