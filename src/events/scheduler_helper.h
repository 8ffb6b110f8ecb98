// Builds the requests to the agent's scheduler, which are themselves events, and names the tasks: the same
// event always maps to the same task, so that a success finds the retry it makes superfluous. It holds no
// timer and no state; safe from any thread.
#pragma once

#include <cstdint>
#include <vector>

#include "foundation/json/message_object.h"

namespace orrery {

class IDispatcherHelper;

// The repetition of a task.
struct CScheduleInfo {
    int32_t repetition = 0;  // 0 none; 1, 2, 3: kinds that repeat, known to the scheduler
    int32_t position = 0;    // 1 to 5
    std::vector<uint32_t> days = {};
    std::vector<uint32_t> daysOfWeek = {};
    uint64_t every = 0;  // seconds; 0: none
    bool localTime = false;
};

class ISchedulerHelper {
  public:
    virtual ~ISchedulerHelper() = default;
    // Runs `event` again after `delay` seconds, or at once for 0.
    virtual uint32_t ScheduleEvent(const CMessageObject& event, uint32_t delay, const WideString& source) = 0;
    // Takes the retry of this event away, if the scheduler holds one.
    virtual uint32_t RemoveRetry(const CMessageObject& event) = 0;
    // The identity of an event apart from its stamps: 32 hexadecimal digits. 0, 11 or 87.
    virtual uint32_t GetEventHash(const CMessageObject& event, WideString& hash) = 0;
    // 0, 8 without a GUID for a task that has no id, or 87 for an event that can't be written.
    virtual uint32_t BuildTaskAdd(CMessageObject& request, const CMessageObject& event,
                                  const WideString& offset, const WideString& startTime,
                                  const WideString& source, const WideString& scheduleId,
                                  const CScheduleInfo& info) = 0;
    virtual bool BuildTaskRemove(const WideString& scheduleId, CMessageObject& request) = 0;
    virtual bool TaskExists(const WideString& scheduleId) = 0;
    virtual uint32_t RemoveTask(const WideString& scheduleId) = 0;
    virtual uint32_t EnableTask(const WideString& scheduleId) = 0;
    virtual uint32_t DisableTask(const WideString& scheduleId) = 0;
};

class CSchedulerHelper final : public ISchedulerHelper {
  public:
    explicit CSchedulerHelper(IDispatcherHelper& dispatcher) : dispatcher(&dispatcher) {}

    uint32_t ScheduleEvent(const CMessageObject& event, uint32_t delay, const WideString& source) override;
    uint32_t RemoveRetry(const CMessageObject& event) override;
    uint32_t GetEventHash(const CMessageObject& event, WideString& hash) override;
    uint32_t BuildTaskAdd(CMessageObject& request, const CMessageObject& event, const WideString& offset,
                          const WideString& startTime, const WideString& source, const WideString& scheduleId,
                          const CScheduleInfo& info) override;
    bool BuildTaskRemove(const WideString& scheduleId, CMessageObject& request) override;
    bool TaskExists(const WideString& scheduleId) override;
    uint32_t RemoveTask(const WideString& scheduleId) override;
    uint32_t EnableTask(const WideString& scheduleId) override;
    uint32_t DisableTask(const WideString& scheduleId) override;

  private:
    uint32_t GetRetryId(const CMessageObject& event, WideString& id);
    uint32_t RaiseIdRequest(const char16_t* name, const WideString& scheduleId);

    IDispatcherHelper* const dispatcher;
};

}  // namespace orrery
