// The commands as a person calls them: the program with its arguments, what it prints and what it ends with.
#include <gmock/gmock.h>

#include <regex>

#include "support/temporary_folder.h"
#include "system/process.h"

namespace orrery::agent {
namespace {

using system_test::Command;
using system_test::Process;

class CommandLineTest : public testing::Test {
  protected:
    Command Agent(const Command& arguments) const {
        Command command{ORRERY_PROGRAMS "/orrery-agent", "--home", home};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return command;
    }
    // All that is printed; behind it complaints, with "! " for the program's name.
    std::string Says(const Command& arguments, int exitCode = 0) const {
        std::filesystem::remove(log + ".err");
        Process process(Agent(arguments), log);
        EXPECT_EQ(process.End(0), exitCode) << testing::PrintToString(arguments);
        std::string complaints = process.Errors();
        if (complaints.starts_with(title)) complaints.replace(0, title.size(), "! ");
        return system_test::ReadFile(log + ".out") + complaints;
    }
    struct Case {
        Command arguments;
        int exitCode;
        std::string says;
    };
    void Expect(const std::vector<Case>& cases) const {
        for (const Case& item : cases)
            EXPECT_EQ(Says(item.arguments, item.exitCode), item.says)
                << testing::PrintToString(item.arguments);
    }
    void Install() const {
        EXPECT_EQ(Says({"install", "--device", "d"}), "installed in " + home + ", device d\n");
    }
    std::string Write(const std::string& name, const std::string& bytes) const {
        folder.Write(name, bytes);
        return folder.PathOf(name);
    }

    const TemporaryFolder folder;
    const std::string home = folder.PathOf("home"), log = folder.PathOf("log");
    const std::string title = "orrery-agent: ";
};

TEST_F(CommandLineTest, WhatCannotBeDoneIsNamed) {
    const std::string make = "! there is no agent in " + home + " (orrery-agent install makes one)\n";
    Expect({
        {{"nonsense"}, 1, "! unknown command or option: nonsense\nRun with --help for more information.\n"},
        {{"run"}, 1, make},
        {{"status"}, 1, make},
        {{"install", "--poll", "31622401"}, 1, "! the interval of the polls is 0 to 31622400 seconds\n"},
    });
    Install();
    const std::string good = Write("good", "# comment\r\n\n  x.y.a = x=y \r\nx.y.b=\n");
    const std::string bad = Write("bad", "x.y.c=1\nnonsense\n");
    Expect({
        {{"messages", "1"}, 1, "! there is no message \"1\"\n"},
        {{"settings", "set", "x.y", "1"}, 1, "! \"x.y\" is no key of three parts, section.group.name\n"},
        {{"settings", "set", "x.y.z", "-1\n"}, 0, ""},
        {{"settings", "import", bad}, 1, "! " + bad + ": line 2: this is not KEY=VALUE\n"},
        {{"settings", "import", good}, 0, "2 settings written\n"},
        {{"settings", "list", "x."}, 0, "x.y.a= x=y \nx.y.b=\nx.y.z=-1\\n\n"},
        {{"settings", "unset", "x.y.z"}, 0, ""},
        {{"settings", "get", "x.y.z"}, 1, "! x.y.z is not set\n"},
    });
}

TEST_F(CommandLineTest, ListsOfProxiesAreSealedStoredAndOpened) {
    Install();
    const std::string list = R"({"ProxyConfig":[]})";
    const std::string plain = Write("plain", list + " \n"), none = Write("none", "{}");
    const std::string sealed = Write("sealed", Says({"seal", plain}));
    const std::string refused = "! this is no list of proxies";
    Expect({
        {{"seal", "--open", sealed}, 0, list + "\n"},
        {{"seal", plain, "--store"}, 0, ""},
        {{"seal", "--open"}, 0, list + "\n"},
        {{"seal", none, "--store"}, 1, refused + ": {\"ProxyConfig\":[...]}\n"},
        {{"seal", "--open", none}, 1, refused + ", or it was enciphered with another key\n"},
    });
    EXPECT_NE(Says({"settings", "get", "Proxy.Default.FallbackList"}), list + "\n");
}

TEST_F(CommandLineTest, ARunningAgentTakesEventsAndTellsOfItself) {
    Install();
    Process agent(Agent({"run"}), folder.PathOf("run"));
    const auto lines = [&] {
        const std::regex time("20..-..-..T..:..:..\\....Z  ");
        return std::regex_replace(folder.Read("run.out"), time, "");
    };
    ASSERT_TRUE(
        system_test::Eventually([&] { return lines().find("result=running\n") != std::string::npos; }));
    Expect({
        {{"run"}, 1, "! another agent runs in this home (" + home + "/agent.lock is held)\n"},
        {{"event", R"({"Any":{"EventSource":"S"}})"}, 1, "87\n"},
        {{"event", R"({"SchedulerTaskAdd":{"ScheduleId":"t","Actions":{"A\nB":{"EventSource":"S"}},)"
                   R"("ScheduleInfo":{"StartTime":"%Now()%","Every":600}}})"},
         0,
         "0\n"},
        {{"event", "{"}, 1, "! this is no JSON document\n"},
    });
    EXPECT_TRUE(system_test::Eventually([&] { return lines().find("raised    A B") != std::string::npos; }));
    EXPECT_THAT(Says({"status"}), testing::StartsWith("agent         running, process "));
    EXPECT_EQ(agent.End(), 0);
    EXPECT_EQ(agent.Errors(), "");
    EXPECT_EQ(lines(),
              "state     agent                 source=  result=starting\n"
              "state     agent                 source=  result=running\n"
              "executed  Any                   source=S  result=87\n"
              "executed  SchedulerTaskAdd      source=  result=0\n"
              "raised    A B                   source=S  result=\n"
              "state     agent                 source=  result=stopping\n"
              "state     agent                 source=  result=stopped\n");
    Expect({{{"event", R"({"Any":{}})"}, 1, "! no agent runs in " + home + "\n"}});
}

}  // namespace
}  // namespace orrery::agent
