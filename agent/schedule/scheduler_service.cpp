#include "agent/schedule/scheduler_service.h"

#include <cstdio>

#include "platform/error_codes.h"

namespace orrery::agent {

namespace {

constexpr WideView addName = u"SchedulerTaskAdd";
constexpr WideView removeName = u"SchedulerTaskRemove";
constexpr WideView enableName = u"SchedulerTaskEnable";
constexpr WideView disableName = u"SchedulerTaskDisable";

void ReportUnreadable(const WideString& id) {
    std::fprintf(stderr, "orrery-agent: the stored task %s can't be read and is left alone\n",
                 ToUtf8(id).c_str());
}

void FillRun(CMessageObject& body, const TaskRun& run) {
    body.AddString(u"ScheduleId", run.id);
    body.AddInt32(u"Run", run.number);
}

}  // namespace

SchedulerService::SchedulerService(ConfigUtil& store, IEventgate& eventgate, WakeTimer& timer)
    : store(store), eventgate(eventgate), timer(timer) {}

bool SchedulerService::IsRequest(WideView eventName) {
    return eventName == addName || eventName == removeName || eventName == enableName ||
           eventName == disableName;
}

uint32_t SchedulerService::Handle(WideView eventName, const CMessageObject& body) {
    MutexLock hold(lock);
    WideString id;
    uint32_t result = InvalidParameter;
    if (eventName == addName) {
        result = AddLocked(body);
    } else if (body.GetString(u"ScheduleId", id) && !id.empty()) {
        result = eventName == removeName ? RemoveLocked(id) : EnableLocked(id, eventName == enableName);
    }
    timer.Set(scheduler.NextTime());
    return result;
}

void SchedulerService::Restore(const StoredTasks& stored) {
    MutexLock hold(lock);
    for (const auto& [key, text] : stored) {
        const WideString id = key.substr(taskKeyPrefix.size());
        ScheduleTask task;
        if (ReadStoredTask(text, task) && task.id == id) {
            scheduler.Put(std::move(task));
        } else {
            ReportUnreadable(id);
        }
    }
    ShortenWaitsLocked(NowMilliseconds());
    timer.Set(scheduler.NextTime());
}

void SchedulerService::RunDue() {
    MutexLock hold(lock);
    const int64_t now = NowMilliseconds();
    if (timer.TakeWake()) ShortenWaitsLocked(now);
    for (const WideString& id : scheduler.Due(now)) {
        if (RefreshLocked(id, now)) RunLocked(id, now);
    }
    timer.Set(scheduler.NextTime());
}

void SchedulerService::OnConfigChange(const char16_t*, const char16_t* group, const char16_t* name,
                                      const char16_t*, const char16_t*) {
    if (!EqualNoCase(group, u"Tasks")) return;
    MutexLock hold(lock);
    RefreshLocked(name, NowMilliseconds());
    timer.Set(scheduler.NextTime());
}

uint32_t SchedulerService::AddLocked(const CMessageObject& body) {
    ScheduleTask task;
    uint32_t result = ReadTaskRequest(body, NowMilliseconds(), task);
    if (result == Success) result = scheduler.CheckAdd(task);
    if (result == Success) result = KeepLocked(task);
    if (result == Success) running.erase(task.id);
    return result;
}

uint32_t SchedulerService::RemoveLocked(const WideString& id) {
    if (!scheduler.Find(id) && !running.contains(id)) return NotFound;
    WideString text;
    const uint32_t result = store.DeleteValue(taskKeyPrefix + id);
    if (result != Success && store.ReadValue(taskKeyPrefix + id, text, 0) == Success) return result;
    scheduler.Remove(id);
    running.erase(id);
    return Success;
}

uint32_t SchedulerService::EnableLocked(const WideString& id, bool enabled) {
    const ScheduleTask* found = scheduler.Find(id);
    if (!found) return NotFound;
    ScheduleTask task = *found;
    task.enabled = enabled;
    return KeepLocked(task);
}

// Into the store first: a task that is reported as taken survives.
uint32_t SchedulerService::KeepLocked(const ScheduleTask& task) {
    const WideString text = StoredTaskText(task);
    if (text.empty()) return InvalidParameter;
    const uint32_t result = store.WriteValue(taskKeyPrefix + task.id, text, 0);
    if (result == Success) scheduler.Put(task);
    return result;
}

void SchedulerService::ShortenWaitsLocked(int64_t now) {
    for (const ScheduleTask& task : scheduler.OverlongWaits(now)) KeepLocked(task);
}

// False if the task isn't to run now.
bool SchedulerService::RefreshLocked(const WideString& id, int64_t now) {
    WideString text;
    ScheduleTask task;
    const bool found = store.ReadValue(taskKeyPrefix + id, text, 0) == Success;
    const auto run = running.find(id);
    if (run != running.end() && found && text == run->second.stored) return false;
    if (run != running.end()) running.erase(run);
    if (!found) {
        scheduler.Remove(id);
        return false;
    }
    if (!ReadStoredTask(text, task) || task.id != id) {
        ReportUnreadable(id);
        scheduler.Remove(id);
        return false;
    }
    const bool due = task.enabled && task.next <= now;
    scheduler.Put(std::move(task));
    return due;
}

// Raised before the next run is noted: should the process end in between, the task runs again rather than
// never.
void SchedulerService::RunLocked(const WideString& id, int64_t now) {
    const ScheduleTask task = *scheduler.Find(id);
    const std::optional<ScheduleTask> after = Scheduler::AfterRun(task, now);
    if (!after) return RunOnceLocked(task);
    for (const CMessageObject& event : TaskEvents(task)) Dispatch(event, id);
    // Goes on in memory where the store refuses; after a restart the run is made up for.
    if (KeepLocked(*after) != Success) scheduler.Put(*after);
}

void SchedulerService::RunOnceLocked(const ScheduleTask& task) {
    const TaskRun run{task.id, ++runs};
    Running& mine = running[task.id];
    mine = Running();
    mine.number = run.number;
    store.ReadValue(taskKeyPrefix + task.id, mine.stored, 0);
    scheduler.Remove(task.id);
    for (CMessageObject& event : TaskEvents(task)) {
        CMessageObject envelope;
        CMessageObject* const body = envelope.AddObject(WideString(taskRunName), true);
        FillRun(*body, run);
        event.name = u"Event";
        body->AddObjectCopy(event);
        if (Dispatch(envelope, task.id)) ++mine.pending;
    }
    if (mine.pending == 0) {
        store.DeleteValue(taskKeyPrefix + task.id);
        running.erase(task.id);
    }
}

bool SchedulerService::Dispatch(const CMessageObject& event, const WideString& id) const {
    WideString text;
    if (event.Serialize(text) && eventgate.Dispatch(text, false) == Success) return true;
    std::fprintf(stderr, "orrery-agent: the task %s couldn't raise an event\n", ToUtf8(id).c_str());
    return false;
}

TaskRun SchedulerService::RunOf(const CMessageObject& body) {
    TaskRun run;
    body.GetString(u"ScheduleId", run.id);
    body.GetInt(u"Run", run.number);
    return run;
}

const CMessageObject* SchedulerService::EventOf(const CMessageObject& body) {
    const CMessageObject* event = nullptr;
    return body.GetObject(u"Event", event) ? event : nullptr;
}

void SchedulerService::Executed(const TaskRun& run) {
    MutexLock hold(lock);
    const auto found = running.find(run.id);
    if (found == running.end() || found->second.number != run.number) return;
    if (--found->second.pending > 0) return;
    CMessageObject note;
    FillRun(*note.AddObject(WideString(taskDoneName), true), run);
    Dispatch(note, run.id);
}

void SchedulerService::PutAway(const TaskRun& run) {
    MutexLock hold(lock);
    const auto found = running.find(run.id);
    if (found == running.end() || found->second.number != run.number || found->second.pending > 0) return;
    WideString text;
    const WideString key = taskKeyPrefix + run.id;
    if (store.ReadValue(key, text, 0) == Success && text == found->second.stored) store.DeleteValue(key);
    running.erase(found);
}

}  // namespace orrery::agent
