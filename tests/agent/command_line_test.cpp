// The commands as a person calls them: the program with its arguments, what it prints and what it ends with.
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <regex>

#include "support/temporary_folder.h"
#include "system/process.h"

namespace orrery::agent {
namespace {

using system_test::Command;
using system_test::Process;
using testing::ElementsAre;

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
    void Install(const Command& further = {}) const {
        Command command{"install", "--device", "d"};
        command.insert(command.end(), further.begin(), further.end());
        EXPECT_EQ(Says(command), "installed in " + home + ", device d\n");
    }
    std::string Write(const std::string& name, const std::string& bytes) const {
        folder.Write(name, bytes);
        return folder.PathOf(name);
    }

    const TemporaryFolder folder;
    const std::string home = folder.PathOf("home"), log = folder.PathOf("log");
    const std::string title = "orrery-agent: ";
};

TEST_F(CommandLineTest, WhatIsNoCommandIsNamed) {
    const std::string more = "\nRun with --help for more information.\n";
    Expect({
        {{"nonsense"}, 1, "! unknown command or option: nonsense" + more},
        {{}, 1, "! A subcommand is required" + more},
        {{"settings"}, 1, "! A subcommand is required" + more},
        {{"seal", "--open", "--store"}, 1, "! --store excludes --open" + more},
    });
    EXPECT_THAT(Says({"settings", "--help"}), testing::HasSubstr("import"));
}

TEST_F(CommandLineTest, AHomeIsMadeOnceAndNeededByTheRest) {
    const std::string nobody = "! there is no agent in " + home;
    const std::string make = nobody + " (orrery-agent install makes one)\n";
    Expect({
        {{"run"}, 1, make},
        {{"settings", "list"}, 1, make},
        {{"status"}, 1, make},
        {{"messages"}, 1, nobody + "\n"},
        {{"install", "--server", "hub"},
         1,
         "! a server's address begins with http://, https://, ws:// or wss://\n"},
        {{"install", "--poll", "31622401"}, 1, "! the interval of the polls is 0 to 31622400 seconds\n"},
        {{"install", "--site", " "}, 1, "! the site id is empty\n"},
        {{"settings", "list"}, 1, make},
    });
    Install({"--server", "wss://hub:1/p", "--site", "s", "--secret", "t", "--poll", "0"});
    Expect({
        {{"settings", "list", "Communications.Method_C"},
         0,
         "Communications.Method_CommandHub.Hostname=hub:1\n"
         "Communications.Method_CommandHub.Path=/p\n"
         "Communications.Method_CommandHub.Scheme=wss\n"},
        {{"settings", "get", "Register.Register.SiteId"}, 0, "s\n"},
        {{"settings", "get", "Services.Authorization.Secret"}, 0, "t\n"},
        {{"settings", "list", "Scheduler"}, 0, ""},
        {{"messages"}, 0, "no messages (the agent keeps them while Register.Agent.TestMode is 1)\n"},
        {{"messages", "1"}, 1, "! there is no message \"1\"\n"},
        {{"messages", "--json"}, 0, "[]\n"},
    });
}

TEST_F(CommandLineTest, SettingsAreWrittenReadAndTakenFromFiles) {
    Install();
    const std::string good = Write("good", R"({"x.y.a":"1","x.y.b":"two\nlines"})");
    const std::string bad = Write("bad", "x.y.c=1\nnonsense\n");
    Expect({
        {{"settings", "set", "x.y", "1"}, 1, "! \"x.y\" is no key of three parts, section.group.name\n"},
        {{"settings", "set", "x.y.z", "-1"}, 0, ""},
        {{"settings", "get", "x.y.z"}, 0, "-1\n"},
        {{"settings", "set", "x.y.z", ""}, 0, ""},
        {{"settings", "get", "x.y.z"}, 0, "\n"},
        {{"settings", "unset", "x.y.z"}, 0, ""},
        {{"settings", "unset", "x.y.z"}, 1, "! x.y.z is not set\n"},
        {{"settings", "get", "x.y.z"}, 1, "! x.y.z is not set\n"},
        {{"settings", "import", bad}, 1, "! " + bad + ": line 2: this is not KEY=VALUE\n"},
        {{"settings", "list", "x."}, 0, ""},
        {{"settings", "import", good}, 0, "2 settings written\n"},
        {{"settings", "import", good + "x"}, 1, "! can't read " + good + "x\n"},
        {{"settings", "list", "x."}, 0, "x.y.a=1\nx.y.b=two\\nlines\n"},
        {{"settings", "list", "x.", "--json"},
         0,
         "{\n  \"x.y.a\": \"1\",\n  \"x.y.b\": \"two\\nlines\"\n}\n"},
    });
}

TEST_F(CommandLineTest, ListsOfProxiesAreSealedStoredAndOpened) {
    Install();
    const std::string list = R"({"ProxyConfig":[]})";
    const std::string plain = Write("plain", list + " \n"), none = Write("none", "{}");
    const std::string notUtf8 = Write("notUtf8", "{\"ProxyConfig\":[\"\xFF\"]}"),
                      ends = Write("ends", list + '\0');
    const std::string sealed = Write("sealed", Says({"seal", plain}));
    const std::string refused = "! this is no list of proxies",
                      form = refused + ": {\"ProxyConfig\":[...]}\n";
    Expect({
        {{"seal", "--open", sealed}, 0, list + "\n"},
        {{"seal", "--open"}, 1, "! no list is stored\n"},
        {{"seal"}, 1, "! seal needs a file, or - for standard input\n"},
        {{"seal", plain, "--store"}, 0, ""},
        {{"seal", "--open"}, 0, list + "\n"},
        {{"seal", none}, 1, form},
        {{"seal", notUtf8}, 1, form},
        {{"seal", ends}, 1, form},
        {{"seal", none, "--store"}, 1, form},
        {{"seal", "--open", none}, 1, refused + ", or it was enciphered with another key\n"},
        {{"seal", plain + "x"}, 1, "! can't read " + plain + "x\n"},
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
    const std::string stored = "Scheduler.Tasks.t";
    Expect({
        {{"run"}, 1, "! another agent runs in this home (" + home + "/agent.lock is held)\n"},
        {{"event", R"({"Any":{"EventSource":"S"}})"}, 1, "87\n"},
        {{"event", R"({"SchedulerTaskAdd":{"ScheduleId":"t","Actions":{"A\nB":{"EventSource":"S"}},)"
                   R"("ScheduleInfo":{"StartTime":"%Now()%","Every":600}}})"},
         0,
         "0\n"},
        {{"event", "[]"},
         1,
         "! an event is an object with one member, its name, which is an object itself: "
         "{\"Name\":{}}\n"},
        {{"event", "{"}, 1, "! this is no JSON document\n"},
    });
    EXPECT_TRUE(system_test::Eventually([&] { return lines().find("raised    A B") != std::string::npos; }));
    const auto status = nlohmann::json::parse(Says({"status", "--json"}));
    EXPECT_EQ(status["running"], true);
    EXPECT_EQ("/proc/" + status["processId"].dump(), agent.Folder());
    EXPECT_EQ(status["channel"]["state"], "not configured");
    EXPECT_EQ(status["tasks"][1]["id"], "t");
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
    EXPECT_THAT(Says({"status"}), testing::StartsWith("agent         not running\n"));
}

}  // namespace
}  // namespace orrery::agent
