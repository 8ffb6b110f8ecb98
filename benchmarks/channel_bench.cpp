// channel_bench HOST:PORT FOLDER : the road of a push, from the frame to the dispatch of its event, against a
// client of the library alone that only receives. The hub at HOST:PORT sends both the same pushes, as fast as
// it can. FOLDER takes what is sent. The settings, with the device id "module", come from the agent's home
// that the environment names: see benchmarks/channel.
#include <chrono>
#include <fstream>
#include <iostream>
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

// Where the road ends: the sequence's text is made, as for the real library, and counted.
class CountingDispatcher final : public IDispatcherHelper {
  public:
    explicit CountingDispatcher(bench::ArrivalClock& clock) : clock(clock) {}
    uint32_t RaiseSequence(const CEventSequence& sequence, EventOrigin origin) override {
        return RaiseEventText(sequence.ToText(), origin);
    }
    uint32_t RaiseEvent(const CMessageObject&, EventOrigin) override { return 0; }
    uint32_t RaiseEventText(const WideString&, EventOrigin) override {
        clock.Count();
        return 0;
    }
    uint32_t RaiseEventList(const std::vector<WideString>&, EventOrigin) override { return 0; }
    uint32_t RaiseEventArray(const std::vector<WideString>&, EventOrigin) override { return 0; }

  private:
    bench::ArrivalClock& clock;
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

void WriteBody(const std::string& file, const std::string& device) {
    const nlohmann::json message = {
        {"Actions", {{"Hello", {{"Text", std::string(120, 'x')}, {"Number", 17}}}}}};
    const nlohmann::json body = {{"topic", "D" + device},
                                 {"messages", std::vector<nlohmann::json>(pushes, message)}};
    std::ofstream(file) << body.dump();
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
    CountingDispatcher dispatcher(clock);
    WebSocketsClient channel(u"ws://" + ToWide(hub) + u"/commandhub", nullptr);
    CommandHubClient service(u"module", &channel, GetConfigUtil());
    CPushManager manager(&service, GetConfigUtil(), &dispatcher);
    if (!manager.Start()) throw std::runtime_error("the module can't connect");
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    Push(hub, bodyFile);
    WaitFor(clock);
    manager.Stop();
    return clock.PerSecond();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: channel_bench HOST:PORT FOLDER\n";
        return 2;
    }
    const std::string hub = argv[1];
    const std::string folder = argv[2];
    WriteBody(folder + "/bare.json", "bare");
    WriteBody(folder + "/module.json", "module");
    bench::LimitPool();
    nlohmann::json result = nlohmann::json::array();
    for (int round = 0; round < rounds; ++round) {
        const std::string bareBody = folder + "/bare.json";
        const double direct = BareRate(hub, bareBody, bench::Taking::Directly);
        const double continued = BareRate(hub, bareBody, bench::Taking::ByContinuation);
        const double parsing = BareRate(hub, bareBody, bench::Taking::AndParsing);
        const double ours = ModuleRate(hub, folder + "/module.json");
        result.push_back(
            {{"direct", direct}, {"continued", continued}, {"parsing", parsing}, {"ours", ours}});
    }
    std::cout << result.dump() << '\n';
    return 0;
}
