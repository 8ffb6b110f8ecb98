#include <gmock/gmock.h>

#include "hub_client.h"
#include "support/temporary_folder.h"
#include "system/process.h"

namespace orrery::hub {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

TEST(HubProgram, SaysWhereItListensAndWhyNot) {
    using system_test::Process;
    const TemporaryFolder folder;
    const std::string program = ORRERY_PROGRAMS "/orrery-hub", portFile = folder.PathOf("port");
    Process hub({program, "--listen", "127.0.0.1:0", "--port-file", portFile}, folder.PathOf("hub"));
    ASSERT_TRUE(system_test::Eventually([&] { return folder.Read("hub.out").ends_with('\n'); }));
    const std::string port = folder.Read("port");
    EXPECT_EQ(folder.Read("hub.out"), "listening on 127.0.0.1:" + port);

    const std::string taken = "127.0.0.1:" + port.substr(0, port.size() - 1);
    const std::string certificate = folder.PathOf("certificate"), key = folder.PathOf("key");
    folder.Write("certificate", "none");
    const std::pair<system_test::Command, std::string> failures[] = {
        {{"--listen", "8600"}, "ADDR:PORT is expected, not 8600"},
        {{"--listen", "h:65536"}, "ADDR:PORT"},
        {{"--listen", "host:0"}, "host is no IP address"},
        {{"--listen", taken}, "can't listen on 127.0.0.1 port " + taken.substr(10)},
        {{"--listen", "[::1]:0", "--port-file", folder.PathOf("no/port")}, "can't write the port file"},
        {{"--path", "p"}, "the path begins with a slash, unlike p"},
        {{"--clock-offset", "1000000001"}, "1000000001"},
        {{"--tls-key", key}, "--tls-cert"},
        {{"--tls-cert", certificate, "--tls-key", key}, "can't read " + key},
        {{"--tls-cert", certificate}, certificate + " is no PEM certificate"},
    };
    for (const auto& [arguments, words] : failures) {
        system_test::Command command = arguments;
        command.insert(command.begin(), program);
        std::filesystem::remove(folder.PathOf("failing.err"));
        Process failing(command, folder.PathOf("failing"));
        EXPECT_EQ(failing.End(0), 1) << words;
        EXPECT_THAT(failing.Errors(), AllOf(StartsWith("orrery-hub: "), HasSubstr(words)));
    }
    HubClient(static_cast<uint16_t>(std::stoi(port))).Http("GET", "/webapi/x");
    EXPECT_EQ(hub.End(), 0);
    EXPECT_EQ(hub.Errors(), "GET \"/webapi/x\" of nobody: 401, not signed\n");
}

}  // namespace
}  // namespace orrery::hub
