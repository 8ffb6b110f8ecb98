// Who executes what, on which threads, and what is printed of it.
#include "agent/events/event_router.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <future>
#include <latch>
#include <nlohmann/json.hpp>
#include <sstream>

#include "agent/events/worker_pool.h"
#include "platform/files.h"
#include "support/call_log.h"
#include "support/test_clock.h"
#include "support/test_environment.h"

namespace orrery::agent {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

// The module behind the router: keeps the host's calls, and fails in every way on request.
class RecordingModule final : public IPluginV1, public IPluginInterface {
  public:
    const char16_t* GetPluginGuid() override { return u"guid"; }
    uint32_t QueryInterface(const WideString& guid, IPluginInterface** out) override {
        *out = this;
        return guid == u"guid" ? 0 : 1168;
    }
    uint32_t AddRef() override { return 2; }
    uint32_t Release() override { return Note("Release"); }
    uint32_t Start() override { return Note("Start"); }
    void Stop() override { Note("Stop"); }
    const char16_t* GetEventHandlerString() override { return u"Block;;Throw"; }
    uint32_t ExecuteEvent(const CMessageObject& event) override {
        std::string text;
        event.SerializeUtf8(text);
        Note(text);
        if (text == R"({"Throw":{}})") throw std::runtime_error("broken");
        if (text == R"({"Block":{}})") ++blocked, release.wait();
        return text == R"({"Unlisted":{}})" ? 87 : 0;
    }
    uint32_t Note(const std::string& call) { return log.Note(call), 0; }

    test::CallLog log;  // the calls, and the texts of the events in the order of starting
    std::atomic<int> blocked{0};
    std::latch release{1};  // executions of "Block" wait for it
};

RecordingModule* current = nullptr;

class EventRouterTest : public testing::Test {
  protected:
    void SetUp() override {
        testing::internal::CaptureStdout();
        current = &module;
        test::TestEnvironment::Get().Replace("Realtime", "services");
        plugin = PluginHost::Load(platform::WidePath(test::TestEnvironment::Get().root) + u"\\", problem);
        ASSERT_TRUE(plugin) << problem;
        router.emplace(EventRouter::Targets{*plugin, scheduler, workers, printer, history});
    }

    void Raise(const std::string& text) {
        CMessageObject event;
        ASSERT_TRUE(event.Parse(text)) << text;
        router->OnEvent(event, false);
    }
    std::string Deliver(const std::string& text) {
        CMessageObject event;
        EXPECT_TRUE(ParseEvent(text, event, problem)) << problem;
        std::promise<std::string> result;
        router->Deliver(std::move(event),
                        [&result](const ExecutionResult& came) { result.set_value(came.Text()); });
        return result.get_future().get();
    }
    void TearDown() override { testing::internal::GetCapturedStdout(); }
    // "kind name result" of each line since the last call.
    std::vector<std::string> Printed() {
        std::istringstream stream(testing::internal::GetCapturedStdout());
        testing::internal::CaptureStdout();
        std::vector<std::string> texts;
        for (std::string line; std::getline(stream, line);) {
            const auto object = nlohmann::json::parse(line);
            texts.push_back(object["kind"].get<std::string>() + " " + object["name"].get<std::string>() +
                            " " + object["result"].dump());
        }
        return texts;
    }

    std::string problem;
    RecordingModule module;
    test::FakeConfigUtil store;
    test::RecordingEventgate eventgate;
    WakeTimer timer;
    Printer printer{STDOUT_FILENO, true};
    ChannelHistory history{nullptr};
    SchedulerService scheduler{store, eventgate, timer};
    std::unique_ptr<PluginHost> plugin;
    WorkerPool workers;
    std::optional<EventRouter> router;
};

TEST_F(EventRouterTest, RaisedLinesKeepTheOrderOfArrivalWhateverExecutionsDo) {
    std::vector<std::string> expected;
    for (int i = 0; i < 100; ++i) {
        const std::string name = i % 10 == 0 ? "Block" : "Own" + std::to_string(i);
        Raise("{\"" + name + "\":{}}");
        expected.push_back("raised " + name + " null");
    }
    EXPECT_EQ(Printed(), expected);
    module.release.count_down();
    ASSERT_TRUE(workers.Drain(60s));
    EXPECT_EQ(Printed(), std::vector<std::string>(10, "executed Block 0"));
}

TEST_F(EventRouterTest, DeliveredEventsAreExecutedWhateverTheirNameAndAnExceptionCostsItsEventOnly) {
    EXPECT_EQ(Deliver(R"({"Throw":{}})"), "exception: broken");
    EXPECT_EQ(Deliver(R"({"Unlisted":{}})"), "87");
    EXPECT_EQ(Deliver(R"({"SchedulerTaskEnable":{"ScheduleId":"none"}})"), "1168");
    ASSERT_TRUE(workers.Drain(60s));
    EXPECT_THAT(module.log.Take(), ElementsAre(R"({"Throw":{}})", R"({"Unlisted":{}})"));
    EXPECT_EQ(Printed()[0], "executed Throw \"exception: broken\"");
}

TEST_F(EventRouterTest, WhatWaitsAtTheStopIsNotRunAndTheModuleIsGivenBackInOrder) {
    plugin->Start();
    for (int i = 0; i < 2; ++i) Raise(R"({"Block":{}})");
    ASSERT_TRUE(test::Eventually([this] { return module.blocked == 2; }));
    Raise(R"({"Block":{}})");
    router->Stop();
    module.release.count_down();
    ASSERT_TRUE(workers.Drain(60s));
    EXPECT_EQ(Printed().size(), 6u) << "what was not run is reported as well";
    plugin->Stop();
    plugin.reset();
    const char* const block = R"({"Block":{}})";
    EXPECT_THAT(module.log.Take(), ElementsAre("Start", block, block, "Stop", "Release", "Free"));
}

TEST(WorkerPool, GrowsToItsLimitAndShrinksToNothing) {
    test::TestClock clock;
    WorkerPool pool(3);
    std::latch running(3), release(1);
    std::atomic<int> done{0};
    for (int i = 0; i < 9; ++i) {
        ASSERT_TRUE(pool.Post(std::u16string(1, static_cast<char16_t>(u'a' + i)), [&, i] {
            if (i < 3) running.count_down();
            release.wait();
            ++done;
        }));
    }
    running.wait();
    EXPECT_EQ(pool.WorkerCount(), 3u);
    release.count_down();
    EXPECT_TRUE(test::Eventually([&] { return done == 9; }));
    EXPECT_EQ(pool.WorkerCount(), 3u) << "they wait for more";
    EXPECT_TRUE(test::Eventually([&] { return clock.Advance(5), pool.WorkerCount() == 0; }));
}

TEST(WorkerPool, JobsThatHangHoldUpNoneButTheirLike) {
    WorkerPool pool;
    std::latch release(1);
    std::atomic<int> begun{0}, others{0};
    for (int i = 0; i < 40; ++i) {
        ASSERT_TRUE(pool.Post(u"hangs", [&] {
            ++begun;
            release.wait();
        }));
    }
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(pool.Post(u"other", [&] { ++others; }));
    EXPECT_TRUE(test::Eventually([&] { return others == 3 && begun == 2; }));
    release.count_down();
    EXPECT_TRUE(pool.Drain(60s));
    EXPECT_EQ(begun, 40);
}

}  // namespace
}  // namespace orrery::agent

extern "C" __attribute__((visibility("default"))) orrery::IPluginV1* orrery_test_plugin(int change) {
    if (change < 0) orrery::agent::current->Note("Free");
    return orrery::agent::current;
}
