#include "system/system_test.h"

#include <boost/asio/ip/tcp.hpp>
#include <iostream>

#include "hub/hub_client.h"

namespace orrery::system_test {

namespace {

const std::string programs = ORRERY_PROGRAMS;

// Seconds. A connection that is lost early counts as a failure too, so the number of these hardly ends.
const Json shortWaits = {
    {"Realtime.Manager.CheckInterval", "1"},
    {"Realtime.Manager.MaxConnectionRetries", "1000000"},
    {"Realtime.Manager.CannotConnectRetriesInterval", "1"},
    {"Realtime.Manager.LostConnectionRetriesInterval", "1"},
};

void ExpectCleanEnd(Process* process, const char* name) {
    if (!process) return;
    EXPECT_EQ(process->End(), 0) << name;
    if (testing::Test::HasFailure())
        std::cerr << "--- standard error of the " << name << '\n' << process->Errors();
}

}  // namespace

uint16_t FreePort() {
    using boost::asio::ip::tcp;
    boost::asio::io_context context;
    return tcp::acceptor(context, {boost::asio::ip::address_v4::loopback(), 0}).local_endpoint().port();
}

void SystemTest::TearDown() {
    ExpectCleanEnd(agent.get(), "agent");
    ExpectCleanEnd(hub.get(), "hub");
}

void SystemTest::StartHub(const Command& options) {
    const std::string portFile = PathOf("port");
    std::filesystem::remove(portFile);
    Command command = {programs + "/orrery-hub", "--listen", HubAddress(), "--port-file", portFile};
    command.insert(command.end(), options.begin(), options.end());
    hub = std::make_unique<Process>(command, PathOf("hub"));
    ASSERT_TRUE(Eventually([&] { return std::filesystem::exists(portFile) || hub->HasEnded(); }));
    ASSERT_FALSE(hub->HasEnded()) << hub->Errors();
    hubPort = static_cast<uint16_t>(std::stoi(folder.Read("port")));
}

std::string SystemTest::Api(const std::string& path, const std::optional<std::string>& body) const {
    hub::HubClient client(hubPort);
    EXPECT_EQ(client.Http(body ? "POST" : "GET", path, body.value_or("")), 200) << path;
    return client.answer;
}

bool SystemTest::Push(const std::vector<Json>& actions) const {
    Json request = {{"topic", "D" + device}, {"messages", Json::array()}};
    for (const Json& action : actions) request["messages"].push_back({{"Actions", action}});
    return Api("/api/push", request.dump()) == R"({"reached":1})";
}

void SystemTest::SendFrame(const std::string& bytes, const std::string& kind) const {
    Api("/api/frame?device=" + device + "&kind=" + kind, bytes);
}

void SystemTest::Disconnect(const std::string& how) const {
    Api("/api/disconnect", Json{{"device", device}, {"how", how}}.dump());
}

void SystemTest::Install(const std::string& url, const Json& settings) {
    ASSERT_EQ(RunAgent({"install", "--server", url, "--device", device, "--site", site}).first, 0)
        << folder.Read("install.err");
    Json all = shortWaits;
    all.update(settings);
    folder.Write("settings", all.dump());
    ASSERT_EQ(RunAgent({"settings", "import", PathOf("settings")}).first, 0);
}

void SystemTest::StartAgent(Environment environment) {
    environment.emplace("ORRERY_TRACE", "2,3," + PathOf("trace"));
    agent = std::make_unique<Process>(AgentCommand({"run", "--json"}), PathOf("agent"), environment);
}

void SystemTest::StartBoth(const Json& settings) {
    StartHub();
    Install("ws://" + HubAddress(), settings);
    StartAgent();
    ASSERT_TRUE(Registered());
    ASSERT_TRUE(Raised("ConnectivityTest"));
}

void SystemTest::StartWithoutChannel(Json settings) {
    if (hubPort == 0) StartHub();
    settings["Realtime.Notifications.Enabled"] = "0";
    Install("ws://" + HubAddress(), settings);
    StartAgent();
    ASSERT_TRUE(Eventually([this] { return folder.Read("agent.out").find("running") != std::string::npos; }));
}

Command SystemTest::AgentCommand(Command arguments) const {
    arguments.insert(arguments.begin(), {programs + "/orrery-agent", "--home", home});
    return arguments;
}

std::pair<int, std::string> SystemTest::RunAgent(const Command& arguments) const {
    return RunToEnd(AgentCommand(arguments), PathOf(arguments.front()));
}

void SystemTest::Set(const std::string& key, const std::string& value) const {
    ASSERT_EQ(RunAgent({"settings", "set", key, value}).first, 0);
}

std::string SystemTest::Answer(const Command& arguments) const {
    const std::string output = RunAgent(arguments).second;
    return output.substr(0, output.find('\n'));
}

Json SystemTest::Requests(const std::string& target, const std::string& member) const {
    Json values = Json::array();
    for (const Json& request : Json::parse(Api("/api/exchanges"))) {
        if (request["target"].get<std::string>().starts_with(target)) values.push_back(request[member]);
    }
    return values;
}

Json SystemTest::Subscribed(const std::string& id) const {
    for (const Json& known : Json::parse(Api("/api/devices"))) {
        if (known["device"] == id && known["topics"] == Json{"D" + id, "S" + site}) return known;
    }
    return Json::object();
}

bool SystemTest::Registered(size_t times) const {
    return Eventually([&] { return Subscribed().value("registrations", size_t{0}) == times; });
}

Json SystemTest::NextRaised() {
    Json line;
    Eventually([&] {
        const auto text = agent->NextLine();
        line = text ? Json::parse(*text) : Json();
        return text && line["kind"] == "raised";
    });
    return line;
}

bool SystemTest::Raised(const std::string& name) {
    Json line = NextRaised();
    while (!line.is_null() && line["name"] != name) line = NextRaised();
    return !line.is_null();
}

void SystemTest::ExpectPushArrives() {
    EXPECT_TRUE(Push({{{"Sample", Json::object()}}}));
    EXPECT_TRUE(Raised("Sample"));
}

bool SystemTest::Traced(const std::string& text) const {
    return Eventually([&] { return folder.Read("trace").find(text) != std::string::npos; });
}

}  // namespace orrery::system_test
