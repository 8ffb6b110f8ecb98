// Takes every event that is raised, shows it, and sends it where it belongs: a scheduler request to the
// scheduler, a name that the module asked for to a worker that executes it; the rest are the agent's own.
// Owns none of them. A handler that throws costs its event only.
//
// OnEvent comes on the event library's delivering thread, Deliver on the main thread, executions on workers.
#pragma once

#include <atomic>
#include <functional>

#include "agent/events/event_document.h"
#include "agent/events/plugin_host.h"
#include "agent/events/printer.h"
#include "agent/events/worker_pool.h"
#include "agent/schedule/scheduler_service.h"
#include "agent/status/channel_history.h"
#include "contracts/eventgate.h"

namespace orrery::agent {

class EventRouter final : public IEventReceiver {
  public:
    using Completion = std::function<void(const ExecutionResult&)>;

    // What the router sends events to; all of it outlives the router.
    struct Targets {
        PluginHost& plugin;
        SchedulerService& scheduler;
        WorkerPool& workers;
        Printer& printer;
        ChannelHistory& history;
    };
    explicit EventRouter(const Targets& targets) : targets(targets) {}

    void OnEvent(const CMessageObject& event, bool flag) override;
    // An event that was not raised but handed to the agent directly: always executed, whatever its name.
    // `completion` is called once, here or on a worker.
    void Deliver(CMessageObject event, Completion completion);
    // What still waits for a worker is reported as not run, and the module isn't asked any more. Requests to
    // the scheduler are taken to the end.
    void Stop() { stopping = true; }

  private:
    void Raised(const CMessageObject& event, bool flag, const Completion& completion);
    void OnTaskRun(const CMessageObject& body, bool flag);
    void Post(CMessageObject event, Completion completion);
    ExecutionResult Execute(const CMessageObject& event);
    ExecutionResult Schedule(const EventParts& parts);
    void Finish(const EventParts& parts, const ExecutionResult& result, const Completion& completion);

    const Targets targets;
    std::atomic<bool> stopping{false};
};

}  // namespace orrery::agent
