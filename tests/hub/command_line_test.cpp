#include "hub/command_line/command_line.h"

#include <gmock/gmock.h>

#include "hub_client.h"
#include "support/temporary_folder.h"
#include "system/process.h"

namespace orrery::hub {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

int Read(std::vector<std::string> arguments, CommandLine& read) {
    std::vector<char*> pointers;
    arguments.insert(arguments.begin(), "orrery-hub");
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    return ReadCommandLine(static_cast<int>(pointers.size()), pointers.data(), read);
}

TEST(HubCommandLine, GivesWhatTheServerIsToDo) {
    CommandLine read;
    EXPECT_EQ(Read({"--listen", "[::1]:0", "--port-file", "f", "--path", "/p", "--tls-cert", "c", "--tls-key",
                    "k", "--keep-alive", "7", "--secret", "s", "--clock-offset", "-1000000000", "--quiet"},
                   read),
              -1);
    EXPECT_EQ(read.server.address, "::1");
    EXPECT_EQ(read.server.port, 0);
    EXPECT_EQ(read.portFile, "f");
    EXPECT_EQ(read.server.path + read.server.tlsCertificate + read.server.tlsKey + read.server.secret,
              "/pcks");
    EXPECT_EQ(read.server.keepAliveSeconds, 7u);
    EXPECT_EQ(read.server.clockOffset, -1'000'000'000);
    EXPECT_TRUE(read.quiet);
    CommandLine plain;
    EXPECT_EQ(Read({}, plain), -1);
    EXPECT_EQ(plain.server.address + ":" + std::to_string(plain.server.port), "127.0.0.1:8600");
}

TEST(HubCommandLine, NamesWhatIsWrong) {
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{"--listen", "8600"}, "ADDR:PORT is expected, not 8600"},
        {{"--listen", ":1"}, "ADDR:PORT"},
        {{"--listen", "h:65536"}, "ADDR:PORT"},
        {{"--listen", "h:1x"}, "ADDR:PORT"},
        {{"--path", "p"}, "the path begins with a slash, unlike p"},
        {{"--tls-key", "k"}, "--tls-cert"},
        {{"--clock-offset", "1000000001"}, "1000000001"},
        {{"--other"}, "--other"},
    };
    for (const auto& [arguments, words] : cases) {
        CommandLine read;
        testing::internal::CaptureStderr();
        EXPECT_EQ(Read(arguments, read), 1);
        EXPECT_THAT(testing::internal::GetCapturedStderr(),
                    testing::AllOf(StartsWith("orrery-hub: "), HasSubstr(words)));
    }
}

TEST(HubProgram, SaysWhereItListensAndWhyNot) {
    using system_test::Process;
    const TemporaryFolder folder;
    const std::string program = ORRERY_PROGRAMS "/orrery-hub", portFile = folder.PathOf("port");
    EXPECT_EQ(Process({program, "--help"}, folder.PathOf("help")).End(0), 0);
    EXPECT_THAT(folder.Read("help.out"), HasSubstr("--port-file"));
    Process hub({program, "--listen", "127.0.0.1:0", "--port-file", portFile}, folder.PathOf("hub"));
    ASSERT_TRUE(system_test::Eventually([&] { return folder.Read("hub.out").ends_with('\n'); }));
    const std::string port = folder.Read("port");
    EXPECT_EQ(folder.Read("hub.out"), "listening on 127.0.0.1:" + port);

    const std::string taken = "127.0.0.1:" + port.substr(0, port.size() - 1);
    const std::string certificate = folder.PathOf("certificate"), key = folder.PathOf("key");
    folder.Write("certificate", "none");
    const std::pair<system_test::Command, std::string> failures[] = {
        {{program, "--listen", taken}, "can't listen on 127.0.0.1 port " + taken.substr(10)},
        {{program, "--listen", "host:0"}, "host is no IP address"},
        {{program, "--listen", "[::1]:0", "--port-file", folder.PathOf("no/port")},
         "can't write the port file"},
        {{program, "--tls-cert", key}, "can't read " + key},
        {{program, "--tls-cert", certificate, "--tls-key", key}, "can't read " + key},
        {{program, "--tls-cert", certificate}, certificate + " is no PEM certificate"},
    };
    for (const auto& [command, words] : failures) {
        Process failing(command, folder.PathOf("failing"));
        EXPECT_EQ(failing.End(0), 1) << words;
        EXPECT_THAT(failing.Errors(), HasSubstr("orrery-hub: " + words));
    }
    HubClient(static_cast<uint16_t>(std::stoi(port))).Http("GET", "/webapi/x");
    EXPECT_EQ(hub.End(), 0);
    EXPECT_EQ(hub.Errors(), "GET \"/webapi/x\" of nobody: 401, not signed\n");
}

}  // namespace
}  // namespace orrery::hub
