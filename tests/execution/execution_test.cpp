#include <gtest/gtest.h>

#include <map>

#include "events/dispatcher_helper.h"
#include "events/scheduler_helper.h"
#include "execution/plugin_event_handlers.h"
#include "support/test_clock.h"
#include "support/test_environment.h"

namespace orrery::test {
namespace {

// What one run does.
struct Script {
    uint32_t result = 0;
    uint32_t flags = 0;
    bool follows = false;       // an event for the sequence
    const char* response = "";  // what a server replied
};

struct ScriptedHandler final : CEventHandler {
    ScriptedHandler(ITracebox* tracebox, ISchedulerHelper* scheduler, const Script& script,
                    CMessageObject event)
        : CEventHandler(tracebox, scheduler, u"Work", std::move(event)), script(script) {}

    uint32_t Run(IPluginContext*, CMessageObject& response, CEventSequence& sequence,
                 uint32_t& runFlags) override {
        if (script.follows) sequence.AddEvent(CMessageObject(u"Next"));
        response.Parse(std::string(script.response));
        runFlags = script.flags;
        return script.result;
    }
    IEventRun* NewInstance(const CMessageObject& toRun, ISchedulerHelper* helper) const override {
        return new ScriptedHandler(tracebox, helper, script, toRun);
    }
    WideString GetDisplayName() const override { return u"Test::Work"; }

    const Script& script;
};

struct Execution : testing::Test {
    Execution() {
        environment.Reset();
        registry.AddEventHandler(
            u"Work", std::make_unique<ScriptedHandler>(&environment.tracebox, &scheduler, script, event));
        event.AddObject(u"Work", true);
        store.Set(u"Scheduler.Tasks." + ToWide(retryId), u"{}");
        store.Set(u"Events.Defaults.AllowExecutionsAfter", u"100");
        store.Set(u"Events.Work.MaxErrors", u"3");
        SetErrors(u"2");
    }

    void SetErrors(const WideString& count) {
        store.Set(u"Events.Work.LastErrorTime", u"1000");
        store.Set(u"Events.Work.ErrorCount", count);
        store.Set(u"Events.Work.LastError", u"1056");
    }
    // "count@since", empty without an error state.
    std::string Errors() {
        const auto count = store.Value(u"Events.Work.ErrorCount");
        EXPECT_EQ(count.has_value(), store.Value(u"Events.Work.LastError").has_value());
        const auto since = store.Value(u"Events.Work.LastErrorTime");
        return since ? ToUtf8(count.value_or(u"") + u"@" + *since) : "";
    }
    // What has been raised, by the names of `texts`, with "+" for the flag; then the log.
    std::string Seen() {
        std::string seen;
        for (auto& [text, flag] : environment.eventgate.Take()) {
            for (size_t id = 0; (id = text.find(R"("EventId":"{)", id)) != text.npos; ++id)
                text.replace(id + 11, 38, "{id}");
            const auto known = texts.find(text);
            seen += (flag ? " +" : " ") + (known == texts.end() ? text : known->second);
        }
        for (const std::string& line : environment.tracebox.Take()) seen += " | " + line;
        return seen;
    }
    uint32_t Execute() { return registry.ExecuteEventHandler(u"Work", event); }

    // MD5 of the text {"Work":{}} in UTF-16, low byte first.
    const std::string retryId = "Retry Work 39430965fd418e02d7239d1f4ad818ba";
    const std::string actions =
        R"("EventId":"{id}","EventSource":"CPluginEventHandlers::ExecuteEventHandler")";
    const std::map<std::string, std::string> texts{
        {R"({"SchedulerTaskRemove":{"ScheduleId":")" + retryId + "\"}}", "removal"},
        {R"({"SchedulerTaskAdd":{"EventSource":"Test::Work","FailIfExists":false,"ScheduleId":")" + retryId +
             R"(","Enabled":true,"ScheduleInfo":{"StartTime":"%Now()%","Offset":"1800"},"Actions":{"Work":{}}}})",
         "retry"},
        {R"({"Next":{"EventId":"{id}","EventSource":"Test::Work"}})", "next"},
        {R"([{"A":{"b":1,)" + actions + R"(}},{"C":{)" + actions + "}}]", "actions"},
        {R"("EVENT_REGISTER_PERFORM":{"EventSource":"Test::Work"})", "registration"}};

    TestEnvironment& environment = TestEnvironment::Get();
    FakeConfigUtil& store = environment.config;
    TestClock clock{1010};
    Script script;
    CMessageObject event;
    CDispatcherHelper dispatcher;
    CSchedulerHelper scheduler{dispatcher};
    CPluginEventHandlers registry{&environment.tracebox, &dispatcher, &scheduler, {}};
};

TEST_F(Execution, OneRunAndWhatComesOfIt) {
    constexpr uint32_t unregistered = DeviceNotRegistered;
    const std::string retry = " | 10 Work requests a delayed retry";
    const std::string retried = retry + " | 10 Retrying event Work in 1800 seconds";
    const std::string asked =
        " | 30 Work fails because device is not registered, raising a registration request";
    const std::string empty = " | 30 Error: Work requests a null object sequence";
    const std::string called = ": Calling handler Work";
    const char* const reply = R"({"Actions":{"A":{"b":1},"n":1,"C":{}}})";
    const char* const array = R"({"Actions":[{}]})";
    const char* const notWritable = R"({"Actions":{"A":{"b":1e999}}})";
    const struct {
        Script script;
        uint32_t dispatchResult;
        std::string outcome;  // the error state: the result, what is raised, the log
    } cases[] = {
        {{}, 0, ": 0 +removal"},
        {{5}, 0, "2@1000: 5 | 30 Error 5" + called},
        {{1260}, 0, "2@1000: 1260 | 30 Error 1260" + called},
        {{1056}, 0, "3@1010: 1056 | 30 Error 1056" + called},
        {{1056, 2}, 0, "3@1010: 0 +retry" + retried},
        {{5, 2}, 31, "2@1000: 0 +retry" + retry + " | 30 Error 31: Retrying event Work"},
        {{5, 1, true}, 31, "2@1000: 0 +next | 10 Work requests a sequence"},
        {{0, 1, true}, 0, ": 0 +next +removal | 10 Work requests a sequence"},
        {{5, 1}, 0, "2@1000: 5" + empty + " | 30 Error 5" + called},
        {{5, 0, false, reply}, 0, "2@1000: 0 actions"},
        {{5, 0, false, reply}, 31, "2@1000: 0 actions | 30 Error 31: Raising actions from server"},
        {{5, 0, false, array}, 0, "2@1000: 0"},
        {{5, 0, false, notWritable}, 0, "2@1000: 0 | 30 Error 87: Erroneous actions from server"},
        {{unregistered, 2}, 0, "2@1000: 0 +retry +registration" + retried + asked},
        {{unregistered}, 31, "2@1000: 31 +registration" + asked + " | 30 Error 31" + called},
    };
    for (const auto& one : cases) {
        SetErrors(u"2");
        script = one.script;
        environment.eventgate.Answer({one.dispatchResult});
        const std::string result = std::to_string(Execute());
        EXPECT_EQ(Errors() + ": " + result + Seen(), one.outcome);
    }
    EXPECT_EQ(registry.ExecuteEventHandler(u"work", event), InvalidParameter);
    EXPECT_EQ(Seen(), " | 30 Handler work doesn't exist");
}

TEST_F(Execution, TooManyErrorsRefuseUntilTheyAreForgiven) {
    SetErrors(u"3");
    script.result = 1056;
    EXPECT_EQ(Execute(), 1056U) << "three are allowed";
    Seen();
    clock.Advance(99);
    EXPECT_EQ(Execute(), AccessDisabledByPolicy);
    EXPECT_EQ(Errors(), "4@1010") << "a refusal renews nothing";
    EXPECT_TRUE(Seen().starts_with(
        " | 30 Too many erroneous executions (4/3) for event [Work], executions allowed in 1 seconds"));
    clock.Advance(1);
    script.result = 5;
    EXPECT_EQ(Execute(), 5U);
    EXPECT_EQ(Errors(), "") << "forgiven by time, though the run failed";
    const uint32_t writes = store.Writes();
    EXPECT_EQ(Execute(), 5U);
    EXPECT_EQ(store.Writes(), writes) << "nothing changed, nothing written";
}

TEST_F(Execution, SettingsAndStateAreChains) {
    store.DeleteValue(u"Events.Defaults.AllowExecutionsAfter");
    store.Set(u"Events.Work.NeedRegister", u"TRUE");
    SetErrors(u"9");
    EXPECT_EQ(Execute(), 0U) << "the later settings aren't read";
    store.Set(u"Events.Work.AllowExecutionsAfter", u"100");
    SetErrors(u"3");
    EXPECT_EQ(Execute(), DeviceNotRegistered);
    EXPECT_EQ(Errors(), "") << "the handler didn't run and so didn't fail";
    SetErrors(u"2");
    script.result = 1056;
    store.Set(u"Register.Register.DeviceId", u"d");
    store.FailWrites(1);
    EXPECT_EQ(Execute(), 1056U);
    EXPECT_EQ(Errors(), "2@1000") << "what can't be written ends the writing";
}

}  // namespace
}  // namespace orrery::test
