#include "agent/scheduler_service.h"

#include <cstdio>

#include "platform/error_codes.h"

namespace orrery::agent {

const WideString taskKeyPrefix = u"Scheduler.Tasks.";

namespace {

constexpr WideView addName = u"SchedulerTaskAdd";
constexpr WideView removeName = u"SchedulerTaskRemove";
constexpr WideView enableName = u"SchedulerTaskEnable";
constexpr WideView disableName = u"SchedulerTaskDisable";

void ReportUnreadable(const WideString& id) {
    std::fprintf(stderr, "orrery-agent: the stored task %s can't be read and is left alone\n",
                 ToUtf8(id).c_str());
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
    uint32_t result = ReadTaskRequest(body, NowMilliseconds(), SystemLocalOffset, task);
    if (result == Success) result = scheduler.CheckAdd(task);
    if (result == Success) result = KeepLocked(task);
    return result;
}

uint32_t SchedulerService::RemoveLocked(const WideString& id) {
    if (!scheduler.Find(id)) return NotFound;
    WideString text;
    const uint32_t result = store.DeleteValue(taskKeyPrefix + id);
    if (result != Success && store.ReadValue(taskKeyPrefix + id, text, 0) == Success) return result;
    scheduler.Remove(id);
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
    if (store.ReadValue(taskKeyPrefix + id, text, 0) != Success) {
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

// Raised before it is put away: should the process end in between, the task runs again rather than never.
void SchedulerService::RunLocked(const WideString& id, int64_t now) {
    const ScheduleTask task = *scheduler.Find(id);
    for (const CMessageObject& event : TaskEvents(task)) {
        WideString text;
        const bool raised = event.Serialize(text) && eventgate.Dispatch(text, false) == Success;
        if (!raised)
            std::fprintf(stderr, "orrery-agent: the task %s couldn't raise an event\n", ToUtf8(id).c_str());
    }
    const std::optional<ScheduleTask> after = Scheduler::AfterRun(task, now);
    if (!after) {
        store.DeleteValue(taskKeyPrefix + id);
        scheduler.Remove(id);
    } else if (KeepLocked(*after) != Success) {
        scheduler.Put(*after);  // goes on in memory; after a restart the run is made up for
    }
}

}  // namespace orrery::agent
