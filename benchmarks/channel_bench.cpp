// channel_bench HOST:PORT FOLDER : the road of a push, from the frame to the dispatch of its event, against a
// client of the library alone that only receives. The hub at HOST:PORT sends both the same pushes, as fast as
// it can. FOLDER takes what is sent. Then pushes are made one by one, at a pace that leaves the road idle in
// between, and each is timed from the request to the hub to its event. The settings, with the device id
// "module", come from the agent's home that the environment names: see benchmarks/channel.
#include <curl/curl.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <thread>
#include <vector>

#include "benchmarks/arrival_clock.h"
#include "benchmarks/bare_receiver.h"
#include "channel/command_hub_client.h"
#include "channel/push_manager.h"
#include "channel/socket/web_sockets_client.h"
#include "events/dispatcher_helper.h"
#include "foundation/settings/config_helper.h"

namespace {

using namespace orrery;

constexpr uint64_t pushes = 20'000;
constexpr int rounds = 10;
constexpr size_t timedPushes = 10'000;
constexpr std::chrono::milliseconds pace{1};  // from one timed push to the next

using SteadyClock = std::chrono::steady_clock;

// Where the road ends: the sequence's text is made, as for the real library, and its owner hears of it.
class EndOfRoad final : public IDispatcherHelper {
  public:
    explicit EndOfRoad(std::function<void()> onEvent) : onEvent(std::move(onEvent)) {}
    uint32_t RaiseSequence(const CEventSequence& sequence, EventOrigin origin) override {
        return RaiseEventText(sequence.ToText(), origin);
    }
    uint32_t RaiseEvent(const CMessageObject&, EventOrigin) override { return 0; }
    uint32_t RaiseEventText(const WideString&, EventOrigin) override {
        onEvent();
        return 0;
    }
    uint32_t RaiseEventList(const std::vector<WideString>&, EventOrigin) override { return 0; }
    uint32_t RaiseEventArray(const std::vector<WideString>&, EventOrigin) override { return 0; }

  private:
    const std::function<void()> onEvent;
};

// The module's push chain, connected and subscribed.
class Module {
  public:
    // `onEvent` is called for each push, on the library's thread.
    Module(const std::string& hub, std::function<void()> onEvent)
        : end(std::move(onEvent)), channel(u"ws://" + ToWide(hub) + u"/commandhub", nullptr) {
        if (!manager.Start()) throw std::runtime_error("the module can't connect");
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    ~Module() { manager.Stop(); }

  private:
    EndOfRoad end;
    WebSocketsClient channel;
    CommandHubClient service{u"module", &channel, GetConfigUtil()};
    CPushManager manager{&service, GetConfigUtil(), &end};
};

void WaitFor(const bench::ArrivalClock& clock) {
    for (int i = 0; i < 60'000 && !clock.IsComplete(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    if (!clock.IsComplete()) throw std::runtime_error("the pushes did not all arrive");
}

// The body of the push request lies in a file; the hub's interface is asked by the command that every system
// has.
void Push(const std::string& hub, const std::string& bodyFile) {
    const std::string command =
        "curl -sS -o /dev/null --data-binary @" + bodyFile + " http://" + hub + "/api/push";
    if (std::system(command.c_str()) != 0) throw std::runtime_error("the hub doesn't answer");
}

std::string PushBody(const std::string& device, size_t count) {
    const nlohmann::json message = {
        {"Actions", {{"Hello", {{"Text", std::string(120, 'x')}, {"Number", 17}}}}}};
    const std::vector<nlohmann::json> messages(count, message);
    return nlohmann::json{{"topic", "D" + device}, {"messages", messages}}.dump();
}

double BareRate(const std::string& hub, const std::string& bodyFile, bench::Taking taking) {
    bench::ArrivalClock clock(pushes);
    std::atomic<bool> pushing{false};  // the welcome isn't counted
    const bench::BareReceiver receiver("ws://" + hub + "/commandhub", "bare", taking, [&] {
        if (pushing) clock.Count();
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    pushing = true;
    Push(hub, bodyFile);
    WaitFor(clock);
    return clock.PerSecond();
}

double ModuleRate(const std::string& hub, const std::string& bodyFile) {
    bench::ArrivalClock clock(pushes);
    const Module module(hub, [&clock] { clock.Count(); });
    Push(hub, bodyFile);
    WaitFor(clock);
    return clock.PerSecond();
}

// Makes the timed pushes, over one connection to the hub; gives when the request of each began.
std::vector<SteadyClock::time_point> PushAtPace(const std::string& hub) {
    const std::unique_ptr<CURL, void (*)(CURL*)> request(curl_easy_init(), curl_easy_cleanup);
    const std::string body = PushBody("module", 1);
    curl_easy_setopt(request.get(), CURLOPT_URL, ("http://" + hub + "/api/push").c_str());
    curl_easy_setopt(request.get(), CURLOPT_POSTFIELDS, body.c_str());
    curl_easy_setopt(
        request.get(), CURLOPT_WRITEFUNCTION,
        +[](char*, size_t size, size_t count, void*) { return size * count; });
    std::vector<SteadyClock::time_point> begun;
    const auto start = SteadyClock::now();
    while (begun.size() < timedPushes) {
        std::this_thread::sleep_until(start + begun.size() * pace);
        begun.push_back(SteadyClock::now());
        if (curl_easy_perform(request.get()) != CURLE_OK) throw std::runtime_error("the hub doesn't answer");
    }
    return begun;
}

// From a push's request to its event. Pushes keep their order, so the first event is the first push's.
nlohmann::json Latency(const std::string& hub) {
    std::vector<SteadyClock::time_point> raised;
    raised.reserve(timedPushes);
    bench::ArrivalClock clock(timedPushes);
    std::vector<SteadyClock::time_point> begun;
    {
        const Module module(hub, [&] {
            raised.push_back(SteadyClock::now());
            clock.Count();
        });
        begun = PushAtPace(hub);
        WaitFor(clock);
    }
    std::vector<double> milliseconds;
    for (size_t i = 0; i < timedPushes; ++i)
        milliseconds.push_back(std::chrono::duration<double, std::milli>(raised[i] - begun[i]).count());
    std::ranges::sort(milliseconds);
    const double perSecond = static_cast<double>(timedPushes - 1) /
                             std::chrono::duration<double>(begun.back() - begun.front()).count();
    return {{"perSecond", perSecond},
            {"p50", milliseconds[timedPushes / 2]},
            {"p99", milliseconds[timedPushes * 99 / 100]}};
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: channel_bench HOST:PORT FOLDER\n";
        return 2;
    }
    const std::string hub = argv[1];
    const std::string folder = argv[2];
    for (const char* device : {"bare", "module"})
        std::ofstream(folder + "/" + device + ".json") << PushBody(device, pushes);
    bench::LimitPool();
    nlohmann::json results = nlohmann::json::array();
    for (int round = 0; round < rounds; ++round) {
        const std::string bareBody = folder + "/bare.json";
        const double direct = BareRate(hub, bareBody, bench::Taking::Directly);
        const double continued = BareRate(hub, bareBody, bench::Taking::ByContinuation);
        const double parsing = BareRate(hub, bareBody, bench::Taking::AndParsing);
        const double ours = ModuleRate(hub, folder + "/module.json");
        results.push_back(
            {{"direct", direct}, {"continued", continued}, {"parsing", parsing}, {"ours", ours}});
    }
    std::cout << nlohmann::json{{"rounds", results}, {"latency", Latency(hub)}}.dump() << '\n';
    return 0;
}
