#include "agent/run/agent.h"
#include "agent/text/complaint.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <nlohmann/json.hpp>

#include "agent/messages/message_files.h"

namespace orrery::agent {

namespace {

constexpr std::chrono::seconds executionLimit{40};  // that executions have to end at a stop
constexpr std::array watchedSections = {u"Register", u"Communications", u"Realtime", u"Proxy"};

// Every thread made from here on inherits the mask, so that the signals wait for the main loop.
FileDescriptor TakeSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    sigprocmask(SIG_BLOCK, &set, nullptr);
    return FileDescriptor(signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC));
}

std::string ErrorAnswer(const std::string& problem) {
    return nlohmann::json{{"error", problem}}.dump() + "\n";
}

std::string ResultAnswer(const ExecutionResult& result) {
    const nlohmann::json value =
        result.problem.empty() ? nlohmann::json(result.code) : nlohmann::json(result.problem);
    return nlohmann::json{{"result", value}}.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) +
           "\n";
}

}  // namespace

Agent::Agent(const AgentHome& home, int output, bool json)
    : home(home), startedAt(NowMilliseconds()), printer(output, json), signals(TakeSignals()) {
    std::signal(SIGPIPE, SIG_IGN);
}

Agent::~Agent() = default;

int Agent::Run() {
    std::string problem;
    if (!lock.Take(home.LockFile(), problem)) return Complain(problem);
    RemoveOldMessages(MessagesFolder(), std::chrono::file_clock::now());
    printer.State("starting");
    if (!Load(problem)) return Complain(problem);
    Start();
    printer.State("running");
    Wait();
    printer.State("stopping");
    const bool clean = Stop();
    printer.State("stopped");
    // What still runs uses the module: it can't be given back, and the process ends around it.
    if (!clean) _exit(1);
    return 0;
}

bool Agent::Load(std::string& problem) {
    control = ControlServer::Open(
        home.Folder(),
        [this](const std::string& request, auto reply) { OnRequest(request, std::move(reply)); }, problem);
    if (!control) return false;
    settings = SettingsStore::Open(home, problem);
    if (!settings) return false;
    const std::string trouble = settings->Listing().Problem();
    if (!trouble.empty()) Complain(trouble);
    events = EventLibrary::Load(home.WideAgentFolder(), problem);
    if (!events) return false;
    plugin = PluginHost::Load(home.WideAgentFolder(), problem);
    return plugin != nullptr;
}

// The receiver comes before the module's start, so that nothing that the start raises has to wait.
void Agent::Start() {
    probe = std::make_unique<ConnectionProbe>(settings->Util());
    history = std::make_unique<ChannelHistory>([this] { probe->NoteConnect(); });
    for (const char16_t* section : watchedSections) settings->Util().Subscribe(section, history.get());
    scheduler = std::make_unique<SchedulerService>(settings->Util(), events->Gate(), timer);
    router =
        std::make_unique<EventRouter>(EventRouter::Targets{*plugin, *scheduler, workers, printer, *history});
    settings->Util().Subscribe(u"Scheduler", scheduler.get());
    SchedulerService::StoredTasks tasks;
    settings->Listing().List(taskKeyPrefix, tasks);
    scheduler->Restore(tasks);
    events->Gate().SetReceiver(router.get());
    if (const uint32_t result = plugin->Start()) {
        Complain("the module reports error " + std::to_string(result) + " at its start");
    }
}

void Agent::Wait() {
    std::vector<pollfd> descriptors;
    for (;;) {
        descriptors = {{signals.Get(), POLLIN, 0}, {timer.Descriptor(), POLLIN, 0}};
        control->AppendDescriptors(descriptors);
        if (poll(descriptors.data(), descriptors.size(), -1) < 0) continue;
        if (descriptors[0].revents != 0) return;
        if (descriptors[1].revents != 0) scheduler->RunDue();
        control->Serve(descriptors);
    }
}

// The receiver stays to the end: what the last executions ask of the scheduler is still taken.
bool Agent::Stop() {
    control.reset();
    router->Stop();
    const bool clean = workers.Drain(executionLimit);
    if (!clean) Complain("executions still run after 40 seconds; the agent ends without them");
    // Waits for a delivery that may have begun before the stop: later ones leave the module alone.
    events->Gate().SetReceiver(nullptr);
    plugin->Stop();
    for (const char16_t* section : watchedSections) settings->Util().Unsubscribe(section, history.get());
    if (clean) {
        plugin.reset();
        events->Gate().SetReceiver(router.get());
        events.reset();  // delivers what is queued
    }
    settings->Util().Unsubscribe(u"Scheduler", scheduler.get());
    return clean;
}

void Agent::OnRequest(const std::string& request, std::shared_ptr<ControlReply> reply) {
    const size_t verbEnd = std::min(request.find('\n'), request.size());
    const std::string verb = request.substr(0, verbEnd);
    if (verb == "status") {
        reply->Send(ObservationText(Observe()) + "\n");
    } else if (verb == "event") {
        OnEventRequest(request.substr(std::min(verbEnd + 1, request.size())), std::move(reply));
    } else {
        reply->Send(ErrorAnswer("the agent doesn't know this request"));
    }
}

void Agent::OnEventRequest(const std::string& text, std::shared_ptr<ControlReply> reply) {
    CMessageObject event;
    std::string problem;
    if (!ParseEvent(text, event, problem)) return reply->Send(ErrorAnswer(problem));
    router->Deliver(std::move(event),
                    [reply](const ExecutionResult& result) { reply->Send(ResultAnswer(result)); });
}

AgentObservation Agent::Observe() {
    const std::optional<bool> up = probe->IsUp();
    if (up) history->OnLookedAt(*up, NowMilliseconds());
    return {.processId = getpid(), .startedAt = startedAt, .up = up, .notes = history->Notes()};
}

}  // namespace orrery::agent
