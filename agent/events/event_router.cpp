#include "agent/events/event_router.h"

#include <exception>
#include <memory>

namespace orrery::agent {

void EventRouter::OnEvent(const CMessageObject& event, bool flag) {
    if (!IsEvent(event)) return;
    const EventParts parts = PartsOf(event);
    if (parts.name == taskRunName) return OnTaskRun(parts.body, flag);
    if (parts.name == taskDoneName) return targets.scheduler.PutAway(SchedulerService::RunOf(parts.body));
    Raised(event, flag, {});
}

void EventRouter::OnTaskRun(const CMessageObject& body, bool flag) {
    const CMessageObject* const enclosed = SchedulerService::EventOf(body);
    if (!enclosed) return;
    CMessageObject event(*enclosed);
    event.name.clear();
    if (!IsEvent(event)) return;
    Raised(event, flag, [this, run = SchedulerService::RunOf(body)](const ExecutionResult& result) {
        if (result.ran) targets.scheduler.Executed(run);
    });
}

void EventRouter::Raised(const CMessageObject& event, bool flag, const Completion& completion) {
    const EventParts parts = PartsOf(event);
    std::string text;
    event.SerializeUtf8(text);
    targets.history.OnRaised(parts.name, parts.source, flag, NowMilliseconds());
    targets.printer.Raised(ToUtf8(parts.name), ToUtf8(parts.source), text);
    if (SchedulerService::IsRequest(parts.name)) {
        Finish(parts, Schedule(parts), completion);
    } else if (!stopping && targets.plugin.Handles(parts.name)) {
        Post(event, completion);
    } else if (completion) {
        completion({.problem = {}, .ran = !stopping});
    }
}

void EventRouter::Deliver(CMessageObject event, Completion completion) {
    const EventParts parts = PartsOf(event);
    if (SchedulerService::IsRequest(parts.name)) {
        Finish(parts, Schedule(parts), completion);
    } else {
        Post(std::move(event), std::move(completion));
    }
}

void EventRouter::Post(CMessageObject event, Completion completion) {
    const auto shared = std::make_shared<const CMessageObject>(std::move(event));
    const bool posted = targets.workers.Post(PartsOf(*shared).name, [this, shared, completion] {
        Finish(PartsOf(*shared), Execute(*shared), completion);
    });
    if (!posted)
        Finish(PartsOf(*shared), {.code = 0, .problem = "not run: no thread for it", .ran = false},
               completion);
}

ExecutionResult EventRouter::Execute(const CMessageObject& event) {
    if (stopping) return {.code = 0, .problem = "not run: the agent is stopping", .ran = false};
    const WideString& name = PartsOf(event).name;
    targets.history.OnExecuting(name);
    try {
        const uint32_t code = targets.plugin.Execute(event);
        targets.history.OnExecuted(name, code);
        return {.code = code, .problem = {}};
    } catch (const std::exception& error) {
        return {.code = 0, .problem = std::string("exception: ") + error.what()};
    } catch (...) {
        return {.code = 0, .problem = "exception: of an unknown kind"};
    }
}

ExecutionResult EventRouter::Schedule(const EventParts& parts) {
    return {.code = targets.scheduler.Handle(parts.name, parts.body), .problem = {}};
}

void EventRouter::Finish(const EventParts& parts, const ExecutionResult& result,
                         const Completion& completion) {
    targets.printer.Executed(ToUtf8(parts.name), ToUtf8(parts.source), result);
    if (completion) completion(result);
}

}  // namespace orrery::agent
