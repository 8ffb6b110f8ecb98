#include "agent/schedule/scheduler.h"

#include <algorithm>

#include "platform/error_codes.h"

namespace orrery::agent {

uint32_t Scheduler::CheckAdd(const ScheduleTask& task) const {
    return task.failIfExists && tasks.contains(task.id) ? taskExists : uint32_t{Success};
}

void Scheduler::Put(ScheduleTask task) {
    const WideString id = task.id;
    tasks.insert_or_assign(id, std::move(task));
}

void Scheduler::Remove(const WideString& id) {
    tasks.erase(id);
}

const ScheduleTask* Scheduler::Find(const WideString& id) const {
    const auto found = tasks.find(id);
    return found == tasks.end() ? nullptr : &found->second;
}

std::optional<int64_t> Scheduler::NextTime() const {
    std::optional<int64_t> next;
    for (const auto& [id, task] : tasks) {
        if (task.enabled && (!next || task.next < *next)) next = task.next;
    }
    return next;
}

std::vector<WideString> Scheduler::Due(int64_t now) const {
    std::vector<const ScheduleTask*> due;
    for (const auto& [id, task] : tasks) {
        if (task.enabled && task.next <= now) due.push_back(&task);
    }
    std::ranges::stable_sort(due, {}, &ScheduleTask::next);
    std::vector<WideString> ids;
    for (const ScheduleTask* task : due) ids.push_back(task->id);
    return ids;
}

std::optional<ScheduleTask> Scheduler::AfterRun(const ScheduleTask& task, int64_t now) {
    if (task.every == 0) return std::nullopt;
    ScheduleTask after = task;
    const int64_t missed = now > task.next ? (now - task.next) / task.every : 0;
    after.next = task.next + (missed + 1) * task.every;
    return after;
}

std::vector<ScheduleTask> Scheduler::OverlongWaits(int64_t now) const {
    std::vector<ScheduleTask> overlong;
    for (const auto& [id, task] : tasks) {
        if (task.longestWait == 0 || task.next <= now + task.longestWait) continue;
        overlong.push_back(task);
        overlong.back().next = now + task.longestWait;
    }
    return overlong;
}

}  // namespace orrery::agent
