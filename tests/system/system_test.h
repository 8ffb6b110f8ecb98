// What each system test has: a folder, a development server, an installed agent with short waits. The
// programs are looked at from outside only. One thread.
//
// Whatever still runs at a test's end is told to stop, and has to end with 0: so an error that a sanitizer
// found in a program fails the test in which it ran.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "support/temporary_folder.h"
#include "system/process.h"

namespace orrery::system_test {

using Json = nlohmann::json;

inline const std::string device = "test-device", site = "test-site";

// A TCP port of the loopback interface that nobody listens on.
uint16_t FreePort();

class SystemTest : public testing::Test {
  protected:
    void TearDown() override;

    std::string PathOf(const std::string& name) const { return folder.PathOf(name); }

    // On the port of an earlier start, if there was one.
    void StartHub(const Command& options = {});
    std::string HubAddress() const { return "127.0.0.1:" + std::to_string(hubPort); }
    // Plain HTTP: a hub with TLS has none.
    std::string Api(const std::string& path, const std::optional<std::string>& body = {}) const;
    // To the topic of the device; each message is the actions of one push.
    bool Push(const std::vector<Json>& actions) const;
    void SendFrame(const std::string& bytes, const std::string& kind = "text") const;
    void Disconnect(const std::string& how) const;

    // Lays out the home; the settings come on top of the short waits.
    void Install(const std::string& url, const Json& settings = Json::object());
    void StartAgent(Environment environment = {});
    // Hub and agent, connected.
    void StartBoth(const Json& settings = Json::object());
    // An agent that doesn't want a channel, and a hub unless there is a port for one: they speak when an
    // event is delivered, and only then.
    void StartWithoutChannel(Json settings = Json::object());
    Command AgentCommand(Command arguments) const;
    // Exit code and output.
    std::pair<int, std::string> RunAgent(const Command& arguments) const;
    void Set(const std::string& key, const std::string& value) const;
    // The first line of its output.
    std::string Answer(const Command& arguments) const;
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
    Json Requests(const std::string& target, const std::string& member = "status") const;
    // What the hub knows of a device that is connected and has all its topics; empty if it isn't.
    Json Subscribed(const std::string& id = device) const;
    // Until that has come, for the given time since the hub started.
    bool Registered(size_t times = 1) const;
    // The agent's next line about an event that was raised; null if none comes.
    Json NextRaised();
    // Whether this one is raised, from the line on that is next.
    bool Raised(const std::string& name);
    // Whether the channel carries, and not just stands.
    void ExpectPushArrives();
    // Until the agent's trace of errors holds this.
    bool Traced(const std::string& text) const;

    const TemporaryFolder folder;
    const std::string home = PathOf("home");
    std::unique_ptr<Process> hub, agent;
    uint16_t hubPort = 0;
};

}  // namespace orrery::system_test
