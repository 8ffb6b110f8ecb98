// One running agent: takes the home, loads what lies in it, joins the parts, and waits on its one thread
// until it is told to stop. The parts do the work; what is here is who owns what and in which order it comes
// and goes.
#pragma once

#include <memory>
#include <string>

#include "agent/control/control_server.h"
#include "agent/events/event_library.h"
#include "agent/events/event_router.h"
#include "agent/home/agent_home.h"
#include "agent/home/home_lock.h"
#include "agent/settings/settings_store.h"
#include "agent/status/connection_probe.h"
#include "agent/status/status_report.h"

namespace orrery::agent {

class Agent {
  public:
    // The process has entered `home`, and no other thread runs yet. `output` isn't owned.
    Agent(const AgentHome& home, int output, bool json);
    ~Agent();
    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;

    // Until SIGINT or SIGTERM. The exit code of the program.
    int Run();

  private:
    bool Load(std::string& problem);
    void Start();
    void Wait();
    bool Stop();
    void OnRequest(const std::string& request, std::shared_ptr<ControlReply> reply);
    void OnEventRequest(const std::string& text, std::shared_ptr<ControlReply> reply);
    AgentObservation Observe();

    const AgentHome home;
    const int64_t startedAt;
    Printer printer;
    FileDescriptor signals;

    // In the order of their making, which each needs; they go the other way round.
    HomeLock lock;
    WakeTimer timer;
    std::unique_ptr<SettingsStore> settings;
    std::unique_ptr<ConnectionProbe> probe;
    std::unique_ptr<ChannelHistory> history;
    std::unique_ptr<EventLibrary> events;
    std::unique_ptr<PluginHost> plugin;
    std::unique_ptr<SchedulerService> scheduler;
    WorkerPool workers;
    std::unique_ptr<EventRouter> router;
    std::unique_ptr<ControlServer> control;
};

}  // namespace orrery::agent
