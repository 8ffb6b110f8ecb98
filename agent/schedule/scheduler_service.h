// The agent's scheduler: takes the SchedulerTask requests, keeps the tasks in the settings store under
// `Scheduler.Tasks.<id>`, and hands their actions to the event library when they are due. When that is,
// Scheduler decides. It doesn't see whether an action succeeds.
//
// A task that runs once stays in the store until its events have been executed and what they asked for has
// been taken, so that an agent that is killed meanwhile runs it again: such a task's events travel in an
// envelope that tells the run, and a note of their end takes the same way as their requests.
//
// The store has the last word: a task that is written there, by the installer or by hand, is taken up at
// once.
//
// Handle comes from the delivering thread and the main one; PutAway from the delivering thread; Restore and
// RunDue from the main thread; Executed from any; OnConfigChange on the store's notifying thread.
#pragma once

#include <optional>

#include "agent/schedule/scheduler.h"
#include "agent/system/wake_timer.h"
#include "contracts/config_util.h"
#include "contracts/eventgate.h"
#include "platform/mutex.h"

namespace orrery::agent {

// The names of the envelope and of the note.
inline constexpr WideView taskRunName = u"SchedulerTaskRun";
inline constexpr WideView taskDoneName = u"SchedulerTaskDone";

// One run of a task.
struct TaskRun {
    WideString id;
    int32_t number = 0;  // tells the runs of a task apart, while the agent lives
};

class SchedulerService final : public IConfigChangeObserver {
  public:
    // Keys of the store and their values.
    using StoredTasks = std::vector<std::pair<WideString, WideString>>;

    // All three outlive the service.
    SchedulerService(ConfigUtil& store, IEventgate& eventgate, WakeTimer& timer);

    static bool IsRequest(WideView eventName);
    // `body` is what the event's name holds. 0, 87, 183, 1168, or the store's code.
    uint32_t Handle(WideView eventName, const CMessageObject& body);

    // The run that an envelope or a note tells of, and for an envelope its event; null if it has none.
    static TaskRun RunOf(const CMessageObject& body);
    static const CMessageObject* EventOf(const CMessageObject& body);
    // One event of a run has been executed.
    void Executed(const TaskRun& run);
    // On the note that the last one has.
    void PutAway(const TaskRun& run);

    // Takes up the tasks of an earlier run; those that can't be read stay in the store as they are. Tasks
    // begin to run with the timer's next wake.
    void Restore(const StoredTasks& stored);
    // On the timer's wake.
    void RunDue();
    // Of the section "Scheduler". Its own writes come back here too, and change nothing.
    void OnConfigChange(const char16_t* section, const char16_t* group, const char16_t* name,
                        const char16_t* before, const char16_t* after) override;

  private:
    uint32_t AddLocked(const CMessageObject& body) REQUIRES(lock);
    uint32_t RemoveLocked(const WideString& id) REQUIRES(lock);
    uint32_t EnableLocked(const WideString& id, bool enabled) REQUIRES(lock);
    uint32_t KeepLocked(const ScheduleTask& task) REQUIRES(lock);
    void ShortenWaitsLocked(int64_t now) REQUIRES(lock);
    bool RefreshLocked(const WideString& id, int64_t now) REQUIRES(lock);
    void RunLocked(const WideString& id, int64_t now) REQUIRES(lock);
    void RunOnceLocked(const ScheduleTask& task) REQUIRES(lock);
    bool Dispatch(const CMessageObject& event, const WideString& id) const;

    ConfigUtil& store;
    IEventgate& eventgate;
    WakeTimer& timer;

    // Held over the store's writes and over Dispatch, which only queues: so a request that an action brings
    // about is taken after the task has been put away.
    Mutex lock;
    Scheduler scheduler GUARDED_BY(lock);
    // Tasks that run once and are running; the scheduler doesn't have them meanwhile.
    struct Running {
        int32_t number = 0;
        WideString stored;   // its text when it began; another one is another task
        size_t pending = 0;  // events to be executed
    };
    std::map<WideString, Running> running GUARDED_BY(lock);
    int32_t runs GUARDED_BY(lock) = 0;
};

}  // namespace orrery::agent
