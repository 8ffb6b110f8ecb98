#include <gtest/gtest.h>

#include <regex>

#include "events/dispatcher_helper.h"
#include "events/scheduler_helper.h"
#include "execution/plugin_event_handlers.h"
#include "support/test_clock.h"
#include "support/test_environment.h"

namespace orrery::test {
namespace {

using Events = std::vector<RecordingEventgate::Event>;
using Lines = std::vector<std::string>;

// What one run does.
struct Script {
    uint32_t result = 0;
    uint32_t flags = 0;
    bool follows = false;       // an event for the sequence
    const char* response = "";  // what a server replied
    bool hasInstances = true;
};

// As it is stored; 0 for what isn't there.
struct ErrorState {
    long count = 0, since = 0, code = 0;
    bool operator==(const ErrorState&) const = default;
};

void PrintTo(const ErrorState& state, std::ostream* out) {
    *out << state.count << " errors, the last at " << state.since << ": " << state.code;
}

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
        return script.hasInstances ? new ScriptedHandler(tracebox, helper, script, toRun) : nullptr;
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
    ErrorState Errors() const {
        const auto number = [this](const char16_t* key) {
            const auto text = store.Value(key);
            return text ? std::stol(ToUtf8(*text)) : 0;
        };
        return {number(u"Events.Work.ErrorCount"), number(u"Events.Work.LastErrorTime"),
                number(u"Events.Work.LastError")};
    }
    // With the ids that sequences give in one form.
    Events Raised() {
        static const std::regex id("\\{[0-9a-f-]{36}\\}");
        Events raised = environment.eventgate.Take();
        for (auto& [text, flag] : raised) text = std::regex_replace(text, id, "{id}");
        return raised;
    }
    Lines Log() { return environment.tracebox.Take(); }
    uint32_t Execute() { return registry.ExecuteEventHandler(u"Work", event); }

    // MD5 of the text {"Work":{}} in UTF-16, low byte first.
    const std::string retryId = "Retry Work 39430965fd418e02d7239d1f4ad818ba";
    const Events removal{{R"({"SchedulerTaskRemove":{"ScheduleId":")" + retryId + "\"}}", true}};
    const Events retry{
        {R"({"SchedulerTaskAdd":{"EventSource":"Test::Work","FailIfExists":false,"ScheduleId":")" + retryId +
             R"(","Enabled":true,"ScheduleInfo":{"StartTime":"%Now()%","Offset":"1800"},"Actions":{"Work":{}}}})",
         true}};
    const Events next{{R"({"Next":{"EventId":"{id}","EventSource":"Test::Work"}})", true}};
    const Events actions{
        {R"([{"A":{"b":1,"EventId":"{id}","EventSource":"CPluginEventHandlers::ExecuteEventHandler"}},)"
         R"({"C":{"EventId":"{id}","EventSource":"CPluginEventHandlers::ExecuteEventHandler"}}])",
         false}};
    const Events registration{{R"("EVENT_REGISTER_PERFORM":{"EventSource":"Test::Work"})", true}};

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
    constexpr uint32_t failed = AccessDenied;
    constexpr ErrorState none{}, kept{2, 1000, 1056}, counted{3, 1010, 1056};
    const std::string asksRetry = "10 Work requests a delayed retry";
    const std::string retries = "10 Retrying event Work in 1800 seconds";
    const std::string asksSequence = "10 Work requests a sequence";
    const std::string asksNone = "30 Error: Work requests a null object sequence";
    const std::string unregistered =
        "30 Work fails because device is not registered, raising a registration request";
    const auto called = [](uint32_t code) {
        return "30 Error " + std::to_string(code) + ": Calling handler Work";
    };
    const char* const reply = R"({"Actions":{"A":{"b":1},"n":1,"C":{}}})";
    const struct {
        const char* what;
        Script script;
        uint32_t dispatchResult = 0;
        // Expected:
        uint32_t result = 0;
        ErrorState errors;
        Events raised = {};
        Lines log = {};
    } cases[] = {
        {.what = "success", .script = {}, .errors = none, .raised = removal},
        {.what = "failure",
         .script = {.result = failed},
         .result = failed,
         .errors = kept,
         .log = {called(failed)}},
        {.what = "the code of a refusal",
         .script = {.result = AccessDisabledByPolicy},
         .result = AccessDisabledByPolicy,
         .errors = kept,
         .log = {called(AccessDisabledByPolicy)}},
        {.what = "still running",
         .script = {.result = AlreadyRunning},
         .result = AlreadyRunning,
         .errors = counted,
         .log = {called(AlreadyRunning)}},
        {.what = "still running, with a retry",
         .script = {.result = AlreadyRunning, .flags = RunFlagRetry},
         .errors = counted,
         .raised = retry,
         .log = {asksRetry, retries}},
        {.what = "a retry that can't be scheduled",
         .script = {.result = failed, .flags = RunFlagRetry},
         .dispatchResult = 31,
         .errors = kept,
         .raised = retry,
         .log = {asksRetry, "30 Error 31: Retrying event Work"}},
        {.what = "a sequence that isn't taken",
         .script = {.result = failed, .flags = RunFlagSequence, .follows = true},
         .dispatchResult = 31,
         .errors = kept,
         .raised = next,
         .log = {asksSequence}},
        {.what = "a sequence without its flag",
         .script = {.result = failed, .follows = true},
         .result = failed,
         .errors = kept,
         .log = {called(failed)}},
        {.what = "an empty sequence",
         .script = {.result = failed, .flags = RunFlagSequence},
         .result = failed,
         .errors = kept,
         .log = {asksNone, called(failed)}},
        {.what = "a reply with actions",
         .script = {.result = failed, .response = reply},
         .errors = kept,
         .raised = actions},
        {.what = "actions that aren't taken",
         .script = {.result = failed, .response = reply},
         .dispatchResult = 31,
         .errors = kept,
         .raised = actions,
         .log = {"30 Error 31: Raising actions from server"}},
        {.what = "a reply without actions",
         .script = {.result = failed, .response = R"({"Actions":[{}]})"},
         .errors = kept},
        {.what = "actions that can't be written",
         .script = {.result = failed, .response = R"({"Actions":{"A":{"b":1e999}}})"},
         .errors = kept,
         .log = {"30 Error 87: Erroneous actions from server"}},
        {.what = "not registered",
         .script = {.result = DeviceNotRegistered},
         .dispatchResult = 31,
         .result = 31,
         .errors = kept,
         .raised = registration,
         .log = {unregistered, called(31)}},
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
    EXPECT_EQ(registry.ExecuteEventHandler(u"work", event), InvalidParameter);
    EXPECT_EQ(Log(), (Lines{"30 Handler work doesn't exist"}));
    script.hasInstances = false;
    EXPECT_EQ(Execute(), InvalidParameter);
    EXPECT_EQ(Log(), (Lines{"30 Cannot create new handler instance for Work"}));
}

TEST_F(Execution, AHandlerOfANameThatIsThereStaysOut) {
    EXPECT_EQ(WideView(registry.GetEventHandlerString()), u"Work");
    Script other{.result = AccessDenied};
    for (const char16_t* name : {u"Work", u"Play"})
        registry.AddEventHandler(name, std::make_unique<ScriptedHandler>(nullptr, &scheduler, other, event));
    EXPECT_EQ(Execute(), 0U);
    EXPECT_EQ(WideView(registry.GetEventHandlerString()), u"Play;Work");
    CPluginEventHandlers empty(nullptr, &dispatcher, &scheduler, {});
    EXPECT_EQ(WideView(empty.GetEventHandlerString()), u"");
}

TEST_F(Execution, ConditionsOfARun) {
    const struct {
        const char* what;
        uint32_t maxErrors, errorCount;
        bool needRegister, isRegistered;
        uint32_t result;
    } cases[] = {
        {"no limit, nothing needed", 0, 9, false, false, Success},
        {"at the limit", 3, 3, false, false, Success},
        {"beyond the limit", 3, 4, false, true, AccessDisabledByPolicy},
        {"beyond the limit goes first", 3, 4, true, false, AccessDisabledByPolicy},
        {"registered", 3, 3, true, true, Success},
        {"not registered", 0, 0, true, false, DeviceNotRegistered},
    };
    for (const auto& one : cases) {
        store.Set(u"Register.Register.DeviceId", one.isRegistered ? u"d" : u"");
        CEventExecution execution(nullptr, u"Work");
        execution.maxErrors = one.maxErrors;
        execution.errorCount = one.errorCount;
        execution.needRegister = one.needRegister;
        EXPECT_EQ(registry.CheckHandlerConditions(*registry.GetEventHandler(u"Work"), execution), one.result)
            << one.what;
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
    const uint32_t writes = store.Writes();
    EXPECT_EQ(Execute(), AccessDenied);
    EXPECT_EQ(store.Writes(), writes) << "nothing changed, nothing written";
}

TEST_F(Execution, SettingsAreAChain) {
    store.DeleteValue(u"Events.Defaults.AllowExecutionsAfter");
    store.Set(u"Events.Work.NeedRegister", u"TRUE");
    const auto read = [this] { return CEventExecution(&store, u"Work"); };
    EXPECT_EQ(read().maxErrors, 0U) << "the later ones aren't read";
    EXPECT_EQ(read().allowExecutionsAfter, 3600U);
    store.Set(u"Events.Work.AllowExecutionsAfter", u"4294967296");
    EXPECT_EQ(read().allowExecutionsAfter, 4294967295U);
    EXPECT_EQ(read().maxErrors, 3U);
    const std::pair<const char16_t*, bool> needs[] = {
        {u"TRUE", true}, {u"1", true}, {u"01", false}, {u"yes", false}};
    for (const auto& [text, needed] : needs) {
        store.Set(u"Events.Work.NeedRegister", text);
        EXPECT_EQ(read().needRegister, needed) << ToUtf8(text);
    }
    store.Set(u"Events.Work.NeedRegister", u"1");
    store.DeleteValue(u"Events.Work.MaxErrors");
    EXPECT_FALSE(read().needRegister);
}

TEST_F(Execution, WhatIsNoErrorStateIsRemovedAndWhatCannotBeWrittenEndsTheWriting) {
    store.Set(u"Events.Work.LastErrorTime", u"0");
    store.Set(u"Events.Work.ErrorCount", u"many");
    store.Set(u"Events.Work.LastError", u"");
    { const CEventExecution execution(&store, u"Work"); }
    for (const char16_t* key : {u"LastErrorTime", u"ErrorCount", u"LastError"})
        EXPECT_FALSE(store.Value(u"Events.Work." + WideString(key))) << ToUtf8(key);

    for (const bool timeHasChanged : {true, false}) {
        SetErrors(u"2");
        {
            CEventExecution execution(&store, u"Work");
            execution.CountError(AccessDenied);
            if (!timeHasChanged) execution.lastErrorTime = execution.storedLastErrorTime;
            store.FailWrites(1);
        }
        EXPECT_EQ(Errors(), (ErrorState{2, 1000, 1056})) << timeHasChanged;
    }

    // A time at the edge of its type, and an error with its highest bit set.
    store.Set(u"Events.Work.LastErrorTime", u"9223372036854775807");
    {
        CEventExecution execution(&store, u"Work");
        EXPECT_EQ(execution.GetRemainingSeconds(), 4294967295U);
        execution.lastError = DeviceNotRegistered;
    }
    EXPECT_EQ(store.Value(u"Events.Work.LastError"), u"-2141945331");
}

TEST_F(Execution, TheRetryDelayIsEvaluatedForEachRetry) {
    CEventExecution execution(&store, u"Work"), withoutStore(nullptr, u"Work");
    EXPECT_EQ(execution.GetRetryDelay(), 1800U);
    store.Set(u"Events.Defaults.RetryDelay", u"2m");
    EXPECT_EQ(execution.GetRetryDelay(), 120U);
    EXPECT_EQ(execution.retryDelay, 120U);
    store.Set(u"Events.Work.RetryDelay", u"soon");
    EXPECT_EQ(execution.GetRetryDelay(), 1800U);
    EXPECT_EQ(withoutStore.GetRetryDelay(), 1800U);
    withoutStore.ClearErrors();
    EXPECT_EQ(withoutStore.GetRemainingSeconds(), 0U);
}

}  // namespace
}  // namespace orrery::test
