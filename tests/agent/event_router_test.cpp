#include "agent/event_router.h"

#include <gmock/gmock.h>

#include <future>
#include <nlohmann/json.hpp>

#include "output_pipe.h"
#include "platform/files.h"
#include "recording_module.h"
#include "support/fake_config_util.h"
#include "support/recording_services.h"

namespace orrery::agent {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

class EventRouterTest : public testing::Test {
  protected:
    void SetUp() override {
        const WideString folder = platform::WidePath(RECORDING_MODULE_FOLDER);
        plugin = PluginHost::Load(folder, problem);
        ASSERT_TRUE(plugin) << problem;
        module = LoadedLibrary::Open(folder, u"Realtime.dll", problem);
        test::GetRecorderFunction getRecorder = nullptr;
        ASSERT_TRUE(module->Find("GetRecorder", getRecorder, problem)) << problem;
        recorder = getRecorder();
        recorder->calls.clear();
        recorder->blocked = true;
        router.emplace(EventRouter::Targets{*plugin, scheduler, workers, printer, history});
    }

    void Raise(const std::string& text) {
        CMessageObject event;
        ASSERT_TRUE(event.Parse(text)) << text;
        router->OnEvent(event, false);
    }
    ExecutionResult Deliver(const std::string& text) {
        CMessageObject event;
        EXPECT_TRUE(ParseEvent(text, event, problem)) << problem;
        std::promise<ExecutionResult> result;
        router->Deliver(std::move(event), [&result](const ExecutionResult& came) { result.set_value(came); });
        return result.get_future().get();
    }
    void Unblock() {
        const std::lock_guard lock(recorder->mutex);
        recorder->blocked = false;
        recorder->changed.notify_all();
    }
    // "kind name result" of each line.
    std::vector<std::string> Printed() {
        std::vector<std::string> short_;
        for (const std::string& line : pipe.Lines()) {
            const auto object = nlohmann::json::parse(line);
            short_.push_back(object["kind"].get<std::string>() + " " + object["name"].get<std::string>() +
                             " " + object["result"].dump());
        }
        return short_;
    }

    std::string problem;
    test::OutputPipe pipe;
    test::FakeConfigUtil store;
    test::RecordingEventgate eventgate;
    WakeTimer timer;
    Printer printer{pipe.Writer(), true};
    ChannelHistory history{nullptr};
    SchedulerService scheduler{store, eventgate, timer};
    std::unique_ptr<LoadedLibrary> module;
    test::Recorder* recorder = nullptr;
    std::unique_ptr<PluginHost> plugin;
    WorkerPool workers;
    std::optional<EventRouter> router;
};

TEST_F(EventRouterTest, EachEventGoesWhereItBelongs) {
    Raise(R"({"Plain":{"EventSource":"S"}})");
    Raise(R"({"Own":{}})");
    Raise(R"({"SchedulerTaskRemove":{"ScheduleId":"none"}})");
    Raise(R"({"Fail":{}})");
    ASSERT_TRUE(workers.Drain(60s));
    EXPECT_THAT(recorder->calls, UnorderedElementsAre(R"({"Plain":{"EventSource":"S"}})", R"({"Fail":{}})"));
    EXPECT_THAT(Printed(),
                UnorderedElementsAre("raised Plain null", "executed Plain 0", "raised Own null",
                                     "raised SchedulerTaskRemove null", "executed SchedulerTaskRemove 1168",
                                     "raised Fail null", "executed Fail 5"));
}

TEST_F(EventRouterTest, RaisedLinesKeepTheOrderOfArrivalWhateverExecutionsDo) {
    std::vector<std::string> expected;
    for (int i = 0; i < 100; ++i) {
        const std::string name = i % 10 == 0 ? "Block" : "Own" + std::to_string(i);
        Raise("{\"" + name + "\":{}}");
        expected.push_back("raised " + name + " null");
    }
    EXPECT_EQ(Printed(), expected);
    Unblock();
    ASSERT_TRUE(workers.Drain(60s));
    EXPECT_EQ(Printed(), std::vector<std::string>(10, "executed Block 0"));
}

TEST_F(EventRouterTest, AnExceptionCostsItsEventOnly) {
    EXPECT_EQ(Deliver(R"({"Throw":{}})").Text(), "exception: broken");
    EXPECT_EQ(Deliver(R"({"Plain":{}})").Text(), "0");
    ASSERT_TRUE(workers.Drain(60s));
    EXPECT_THAT(Printed(), ElementsAre("executed Throw \"exception: broken\"", "executed Plain 0"));
}

TEST_F(EventRouterTest, DeliveredEventsReachTheModuleOrTheSchedulerWhateverTheirName) {
    EXPECT_EQ(Deliver(R"({"Unlisted":{}})").code, 87u);
    EXPECT_EQ(Deliver(R"({"SchedulerTaskEnable":{"ScheduleId":"none"}})").code, 1168u);
    EXPECT_THAT(recorder->calls, ElementsAre(R"({"Unlisted":{}})"));
    ASSERT_TRUE(workers.Drain(60s));
}

TEST_F(EventRouterTest, WhatWaitsAtTheStopIsReportedAsNotRun) {
    for (int i = 0; i < 4; ++i) Raise(R"({"Block":{}})");
    {
        std::unique_lock lock(recorder->mutex);
        recorder->changed.wait(lock, [this] { return recorder->calls.size() == 4; });
    }
    Raise(R"({"Plain":{}})");
    router->Stop();
    Unblock();
    ASSERT_TRUE(workers.Drain(60s));
    EXPECT_EQ(recorder->calls.size(), 4u);
    EXPECT_EQ(Printed().size(), 10u);
}

TEST_F(EventRouterTest, TheModuleIsGivenBackInOrder) {
    plugin->Start();
    plugin->Stop();
    plugin.reset();
    EXPECT_THAT(recorder->calls, ElementsAre("Start", "Stop", "Release", "Free"));
}

}  // namespace
}  // namespace orrery::agent
