// What each system test has: a folder, a development server, an installed agent with short waits. The
// programs are looked at from outside only. One thread.
//
// Whatever still runs at a test's end is told to stop, and has to end with 0: so an error that a sanitizer
// found in a program fails the test in which it ran.
#pragma once

#include <gtest/gtest.h>

#include <boost/asio/ip/tcp.hpp>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "hub/hub_client.h"
#include "support/temporary_folder.h"
#include "system/process.h"

namespace orrery::system_test {

using Json = nlohmann::json;

inline const std::string device = "test-device", site = "test-site";

// Seconds. A connection that is lost early counts as a failure too, so the number of these hardly ends.
inline const Json shortWaits = {
    {"Realtime.Manager.CheckInterval", "1"},
    {"Realtime.Manager.MaxConnectionRetries", "1000000"},
    {"Realtime.Manager.CannotConnectRetriesInterval", "1"},
    {"Realtime.Manager.LostConnectionRetriesInterval", "1"},
};

// A TCP port of the loopback interface that nobody listens on.
inline uint16_t FreePort() {
    using boost::asio::ip::tcp;
    boost::asio::io_context context;
    return tcp::acceptor(context, {boost::asio::ip::address_v4::loopback(), 0}).local_endpoint().port();
}

class SystemTest : public testing::Test {
  protected:
    void TearDown() override {
        ExpectCleanEnd(agent.get(), "agent");
        ExpectCleanEnd(hub.get(), "hub");
    }

    std::string PathOf(const std::string& name) const { return folder.PathOf(name); }

    // On the port of an earlier start, if there was one.
    void StartHub(const Command& options = {}) {
        const std::string portFile = PathOf("port");
        std::filesystem::remove(portFile);
        Command command = {programs + "/orrery-hub", "--listen", HubAddress(), "--port-file", portFile};
        command.insert(command.end(), options.begin(), options.end());
        hub = std::make_unique<Process>(command, PathOf("hub"));
        ASSERT_TRUE(Eventually([&] { return std::filesystem::exists(portFile) || hub->HasEnded(); }));
        ASSERT_FALSE(hub->HasEnded()) << hub->Errors();
        hubPort = static_cast<uint16_t>(std::stoi(folder.Read("port")));
    }
    std::string HubAddress() const { return "127.0.0.1:" + std::to_string(hubPort); }
    // Plain HTTP: a hub with TLS has none.
    std::string Api(const std::string& path, const std::optional<std::string>& body = {}) const {
        hub::HubClient client(hubPort);
        EXPECT_EQ(client.Http(body ? "POST" : "GET", path, body.value_or("")), 200) << path;
        return client.answer;
    }
    // To the topic of the device; each message is the actions of one push.
    bool Push(const std::vector<Json>& actions) const {
        Json request = {{"topic", "D" + device}, {"messages", Json::array()}};
        for (const Json& action : actions) request["messages"].push_back({{"Actions", action}});
        return Api("/api/push", request.dump()) == R"({"reached":1})";
    }
    void SendFrame(const std::string& bytes, const std::string& kind = "text") const {
        Api("/api/frame?device=" + device + "&kind=" + kind, bytes);
    }
    void Disconnect(const std::string& how) const {
        Api("/api/disconnect", Json{{"device", device}, {"how", how}}.dump());
    }

    // Lays out the home; the settings come on top of the short waits.
    void Install(const std::string& url, const Json& settings = Json::object()) {
        ASSERT_EQ(RunAgent({"install", "--server", url, "--device", device, "--site", site}).first, 0)
            << folder.Read("install.err");
        Json all = shortWaits;
        all.update(settings);
        folder.Write("settings", all.dump());
        ASSERT_EQ(RunAgent({"settings", "import", PathOf("settings")}).first, 0);
    }
    void StartAgent(Environment environment = {}) {
        environment.emplace("ORRERY_TRACE", "2,3," + PathOf("trace"));
        agent = std::make_unique<Process>(AgentCommand({"run", "--json"}), PathOf("agent"), environment);
    }
    // Hub and agent, connected.
    void StartBoth(const Json& settings = Json::object()) {
        StartHub();
        Install("ws://" + HubAddress(), settings);
        StartAgent();
        ASSERT_TRUE(Registered());
        ASSERT_TRUE(Raised("ConnectivityTest"));
    }
    // An agent that doesn't want a channel, and a hub unless there is a port for one: they speak when an
    // event is delivered, and only then.
    void StartWithoutChannel(Json settings = Json::object()) {
        if (hubPort == 0) StartHub();
        settings["Realtime.Notifications.Enabled"] = "0";
        Install("ws://" + HubAddress(), settings);
        StartAgent();
        ASSERT_TRUE(
            Eventually([this] { return folder.Read("agent.out").find("running") != std::string::npos; }));
    }
    Command AgentCommand(Command arguments) const {
        arguments.insert(arguments.begin(), {programs + "/orrery-agent", "--home", home});
        return arguments;
    }
    // Exit code and output.
    std::pair<int, std::string> RunAgent(const Command& arguments) const {
        return RunToEnd(AgentCommand(arguments), PathOf(arguments.front()));
    }
    void Set(const std::string& key, const std::string& value) const {
        ASSERT_EQ(RunAgent({"settings", "set", key, value}).first, 0);
    }
    // The first line of its output.
    std::string Answer(const Command& arguments) const {
        const std::string output = RunAgent(arguments).second;
        return output.substr(0, output.find('\n'));
    }
    // Empty if it isn't set.
    std::string Setting(const std::string& key) const { return Answer({"settings", "get", key}); }
    // What an event's execution gave.
    std::string Execute(const std::string& name, const Json& parameters = Json::object()) const {
        return Answer({"event", Json{{name, parameters}}.dump()});
    }
    // Of events that are to be tried again, as they are stored.
    Json Retries() const {
        return Json::parse(RunAgent({"settings", "list", "Scheduler.Tasks.Retry ", "--json"}).second);
    }

    // This member of each request that the hub has had at a target with that beginning.
    Json Requests(const std::string& target, const std::string& member = "status") const {
        Json values = Json::array();
        for (const Json& request : Json::parse(Api("/api/exchanges"))) {
            if (request["target"].get<std::string>().starts_with(target)) values.push_back(request[member]);
        }
        return values;
    }
    // What the hub knows of a device that is connected and has all its topics; empty if it isn't.
    Json Subscribed(const std::string& id = device) const {
        for (const Json& known : Json::parse(Api("/api/devices"))) {
            if (known["device"] == id && known["topics"] == Json{"D" + id, "S" + site}) return known;
        }
        return Json::object();
    }
    // Until that has come, for the given time since the hub started.
    bool Registered(size_t times = 1) const {
        return Eventually([&] { return Subscribed().value("registrations", size_t{0}) == times; });
    }
    // The agent's next line about an event that was raised; null if none comes.
    Json NextRaised() {
        Json line;
        Eventually([&] {
            const auto text = agent->NextLine();
            line = text ? Json::parse(*text) : Json();
            return text && line["kind"] == "raised";
        });
        return line;
    }
    // Whether this one is raised, from the line on that is next.
    bool Raised(const std::string& name) {
        Json line = NextRaised();
        while (!line.is_null() && line["name"] != name) line = NextRaised();
        return !line.is_null();
    }
    // Whether the channel carries, and not just stands.
    void ExpectPushArrives() {
        EXPECT_TRUE(Push({{{"Sample", Json::object()}}}));
        EXPECT_TRUE(Raised("Sample"));
    }
    // Until the agent's trace holds this.
    bool Traced(const std::string& text) const {
        return Eventually([&] { return folder.Read("trace").find(text) != std::string::npos; });
    }

    const std::string programs = ORRERY_PROGRAMS;
    const TemporaryFolder folder;
    const std::string home = PathOf("home");
    std::unique_ptr<Process> hub, agent;
    uint16_t hubPort = 0;

  private:
    static void ExpectCleanEnd(Process* process, const char* name) {
        if (!process) return;
        EXPECT_EQ(process->End(), 0) << name;
        if (HasFailure()) std::cerr << "--- standard error of the " << name << '\n' << process->Errors();
    }
};

}  // namespace orrery::system_test
