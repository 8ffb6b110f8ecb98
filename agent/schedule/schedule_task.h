// One task of the agent's scheduler, read from a request or from the store, and its stored text. Decides
// nothing about when tasks run and knows neither store nor clock. No state; safe from any thread.
//
// A task repeats by `Every` or runs once. Requests that ask to repeat by days or by the calendar
// (`Repetition`) are refused with 87: what their numbers mean is agreed with nobody.
#pragma once

#include <cstdint>
#include <optional>

#include "agent/text/utc_text.h"
#include "contracts/wide_string.h"
#include "foundation/json/message_object.h"

namespace orrery::agent {

struct ScheduleTask {
    WideString id;
    CMessageObject request;  // the members of the request as they came
    bool enabled = true;
    bool failIfExists = false;
    int64_t next = 0;   // milliseconds UTC
    int64_t every = 0;  // milliseconds, 0: runs once
    // Of a task that starts "now": the longest that it ever waits, in milliseconds. When the clock has been
    // set back, a longer wait than that is the clock's doing. 0: the start is a moment of its own, no limit.
    int64_t longestWait = 0;
};

// The body of SchedulerTaskAdd. 0, or 87 for what can't be a task.
uint32_t ReadTaskRequest(const CMessageObject& body, int64_t now, ScheduleTask& task);

// What the key of a stored task begins with; the rest is its id.
extern const WideString taskKeyPrefix;

// The stored form is the request with "Enabled" as it is now and "NextTime" added. Empty and false on
// failure.
WideString StoredTaskText(const ScheduleTask& task);
bool ReadStoredTask(WideView text, ScheduleTask& task);

// What is to be raised when the task is due: a document for each action. Nothing but its source is added: an
// event that comes again must be the same event, so that its next retry is the same task.
std::vector<CMessageObject> TaskEvents(const ScheduleTask& task);

}  // namespace orrery::agent
