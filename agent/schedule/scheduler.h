// Which tasks there are and which of them are due, given the time. Knows no store, no timer and no events:
// what is due is for the caller to run. Used by one thread at a time.
#pragma once

#include <map>
#include <optional>
#include <vector>

#include "agent/schedule/schedule_task.h"

namespace orrery::agent {

class Scheduler {
  public:
    // 183 if the id is taken and the task says so; else the task is put in, in place of an earlier one.
    uint32_t CheckAdd(const ScheduleTask& task) const;
    void Put(ScheduleTask task);
    void Remove(const WideString& id);
    const ScheduleTask* Find(const WideString& id) const;

    // When something is next due; none if nothing will be.
    std::optional<int64_t> NextTime() const;
    // Ids of what is due, the longest overdue first.
    std::vector<WideString> Due(int64_t now) const;
    // The task as it stands once it has run: none if it is over. Runs that were missed count as this one.
    static std::optional<ScheduleTask> AfterRun(const ScheduleTask& task, int64_t now);
    // Tasks whose wait has become longer than they ever wait, because the clock was set back, with the wait
    // that they should have.
    std::vector<ScheduleTask> OverlongWaits(int64_t now) const;

  private:
    std::map<WideString, ScheduleTask> tasks;
};

constexpr uint32_t taskExists = 183;

}  // namespace orrery::agent
