#include <array>

#include "events/dispatcher_helper.h"
#include "events/scheduler_helper.h"
#include "execution/plugin_event_handlers.h"
#include "support/test_clock.h"
#include "support/test_environment.h"

namespace orrery::test {
namespace {

using Events = std::vector<RaisedEvent>;
using Lines = std::vector<std::string>;

// What one run does.
struct Script {
    uint32_t result = 0;
    uint32_t flags = 0;
    bool follows = false;       // an event for the sequence
    const char* response = "";  // what a server replied
};

// As it is stored: number of errors, time and code of the last. 0 for what isn't there.
using ErrorState = std::array<long, 3>;

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

struct Execution : EnvironmentTest {
    Execution() {
        registry.AddEventHandler(
            u"Work", std::make_unique<ScriptedHandler>(&environment.tracebox, &scheduler, script, event));
        event.AddObject(u"Work", true);
        config.Set(u"Scheduler.Tasks." + ToWide(retryId), u"{}");
        config.Set(u"Events.Defaults.AllowExecutionsAfter", u"100");
        config.Set(u"Events.Work.MaxErrors", u"3");
        config.Set(u"Events.Work.RetryDelay", u"2m");
        SetErrors(u"2");
    }

    void SetErrors(const WideString& count) {
        config.Set(u"Events.Work.LastErrorTime", u"1000");
        config.Set(u"Events.Work.ErrorCount", count);
        config.Set(u"Events.Work.LastError", u"1056");
    }
    ErrorState Errors() const {
        const auto number = [this](const char16_t* key) {
            const auto text = config.Value(key);
            return text ? std::stol(ToUtf8(*text)) : 0;
        };
        return {number(u"Events.Work.ErrorCount"), number(u"Events.Work.LastErrorTime"),
                number(u"Events.Work.LastError")};
    }
    Events Raised() {
        Events raised = environment.eventgate.Take();
        for (auto& [text, flag] : raised) text = WithoutIds(text);
        return raised;
    }
    Lines Log() { return environment.tracebox.Take(); }
    uint32_t Execute() { return registry.ExecuteEventHandler(u"Work", event); }

    // MD5 of the text {"Work":{}} in UTF-16, low byte first.
    const std::string retryId = "Retry Work 39430965fd418e02d7239d1f4ad818ba";
    const Events removal{{R"({"SchedulerTaskRemove":{"ScheduleId":")" + retryId + "\"}}", true}};
    const Events retry{
        {R"({"SchedulerTaskAdd":{"EventSource":"Test::Work","FailIfExists":false,"ScheduleId":")" + retryId +
             R"(","Enabled":true,"ScheduleInfo":{"StartTime":"%Now()%","Offset":"120"},"Actions":{"Work":{}}}})",
         true}};
    const Events next{{R"({"Next":{"EventId":"{id}","EventSource":"Test::Work"}})", true}};
    const Events actions{
        {R"([{"A":{"b":1,"EventId":"{id}","EventSource":"CPluginEventHandlers::ExecuteEventHandler"}},)"
         R"({"C":{"EventId":"{id}","EventSource":"CPluginEventHandlers::ExecuteEventHandler"}}])",
         false}};
    const Events registration{{R"("EVENT_REGISTER_PERFORM":{"EventSource":"Test::Work"})", true}};

    TestClock clock{1010};
    Script script;
    CMessageObject event;
    CDispatcherHelper dispatcher;
    CSchedulerHelper scheduler{dispatcher};
    CPluginEventHandlers registry{&environment.tracebox, &dispatcher, &scheduler, {}};
};

TEST_F(Execution, OneRunAndWhatComesOfIt) {
    constexpr uint32_t failed = AccessDenied, refused = AccessDisabledByPolicy, running = AlreadyRunning;
    constexpr ErrorState none{}, kept{2, 1000, 1056}, counted{3, 1010, 1056};
    const Lines retries{"10 Work requests a delayed retry", "10 Retrying event Work in 120 seconds"};
    const Lines retryLost{retries[0], "30 Error 31: Retrying event Work"};
    const Lines asksSequence{"10 Work requests a sequence"};
    const auto called = [](uint32_t code) {
        return "30 Error " + std::to_string(code) + ": Calling handler Work";
    };
    const Lines noSequence{"30 Error: Work requests a null object sequence", called(failed)};
    const Lines unregistered{"30 Work fails because device is not registered, raising a registration request",
                             called(31)};
    const Script repliesActions{.result = failed, .response = R"({"Actions":{"A":{"b":1},"n":1,"C":{}}})"};
    const struct {
        const char* what;
        Script script;
        uint32_t dispatchResult;
        uint32_t result;
        ErrorState errors;
        Events raised;
        Lines log;
    } cases[] = {
        {"success", {}, 0, 0, none, removal, {}},
        {"its code is a refusal's", {refused}, 0, refused, kept, {}, {called(refused)}},
        {"still running", {running}, 0, running, counted, {}, {called(running)}},
        {"still running, retried", {running, RunFlagRetry}, 0, 0, counted, retry, retries},
        {"retry not taken", {failed, RunFlagRetry}, 31, 0, kept, retry, retryLost},
        {"sequence", {0, RunFlagSequence, true}, 0, 0, none, {next[0], removal[0]}, asksSequence},
        {"sequence not taken", {failed, RunFlagSequence, true}, 31, 0, kept, next, asksSequence},
        {"sequence without flag", {failed, 0, true}, 0, failed, kept, {}, {called(failed)}},
        {"empty sequence", {failed, RunFlagSequence}, 0, failed, kept, {}, noSequence},
        {"actions", repliesActions, 0, 0, kept, actions, {}},
        {"unregistered", {DeviceNotRegistered}, 31, 31, kept, registration, unregistered},
    };
    for (const auto& one : cases) {
        SetErrors(u"2");
        script = one.script;
        environment.eventgate.Answer({one.dispatchResult});
        EXPECT_EQ(Execute(), one.result) << one.what;
        EXPECT_EQ(Errors(), one.errors) << one.what;
        EXPECT_EQ(Raised(), one.raised) << one.what;
        EXPECT_EQ(Log(), one.log) << one.what;
    }
}

TEST_F(Execution, TooManyErrorsRefuseUntilTheyAreForgiven) {
    SetErrors(u"3");
    script.result = AlreadyRunning;
    EXPECT_EQ(Execute(), AlreadyRunning) << "three are allowed";
    Log();
    clock.Advance(99);
    EXPECT_EQ(Execute(), AccessDisabledByPolicy);
    EXPECT_EQ(Errors(), (ErrorState{4, 1010, 1056})) << "a refusal renews nothing";
    EXPECT_EQ(Log().front(),
              "30 Too many erroneous executions (4/3) for event [Work], executions allowed in 1 seconds");
    clock.Advance(1);
    script.result = AccessDenied;
    EXPECT_EQ(Execute(), AccessDenied);
    EXPECT_EQ(Errors(), ErrorState{}) << "forgiven by time, though the run failed";
}

TEST_F(Execution, SettingsAreAChain) {
    const std::pair<const char16_t*, bool> needs[] = {{u"01", false}, {u"TRUE", true}, {u"1", true}};
    for (const auto& [text, needed] : needs) {
        config.Set(u"Events.Work.NeedRegister", text);
        EXPECT_EQ(Execute(), needed ? uint32_t{DeviceNotRegistered} : 0U) << ToUtf8(text);
    }
    EXPECT_EQ(Errors(), ErrorState{}) << "what didn't run didn't fail";
    config.DeleteValue(u"Events.Defaults.AllowExecutionsAfter");
    EXPECT_EQ(Execute(), 0U) << "the later ones aren't read";
    EXPECT_EQ(CEventExecution(&config, u"Work").allowExecutionsAfter, 3600U);
}

TEST_F(Execution, TheErrorStateMayBeAtTheEdgesOfItsTypes) {
    config.Set(u"Events.Work.LastErrorTime", u"9223372036854775807");
    {
        CEventExecution execution(&config, u"Work");
        EXPECT_EQ(execution.GetRemainingSeconds(), 4294967295U);
        execution.lastError = DeviceNotRegistered;
    }
    EXPECT_EQ(Errors()[2], -2141945331) << "signed";
}

}  // namespace
}  // namespace orrery::test
