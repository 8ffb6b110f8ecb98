#include "events/scheduler_helper.h"

#include <array>

#include "events/dispatcher_helper.h"
#include "foundation/settings/config_helper.h"
#include "foundation/text/numbers.h"
#include "foundation/trace.h"
#include "platform/crypto.h"
#include "platform/error_codes.h"
#include "platform/guid.h"

namespace orrery {

namespace {

void RemoveStamps(CMessageObject& event) {
    event.Remove(u"EventId");
    event.Remove(u"EventSource");
}

std::string HexDigits(const std::array<uint8_t, 16>& digest) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const uint8_t byte : digest) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

bool IsRepeating(const CScheduleInfo& info) {
    switch (info.repetition) {
        case 0:
            return info.every > 0;
        case 1:
            return true;
        case 2:
        case 3:
            return !info.daysOfWeek.empty() || !info.days.empty() ||
                   (info.position >= 1 && info.position <= 5);
        default:
            return false;
    }
}

void AddNumbers(CMessageObject& object, const char16_t* key, const std::vector<uint32_t>& numbers) {
    CMessageObject* list = object.AddArray(key);
    for (const uint32_t number : numbers) list->AddUInt32({}, number);
}

void AddRepetition(CMessageObject& object, const CScheduleInfo& info) {
    if (!IsRepeating(info)) return;
    if (info.every != 0) {
        object.AddUInt64(u"Every", info.every);
        return;
    }
    object.AddInt32(u"Repetition", info.repetition);
    if (!info.daysOfWeek.empty()) {
        if (info.position != 0) object.AddInt32(u"Position", info.position);
        AddNumbers(object, u"DaysOfWeek", info.daysOfWeek);
    } else if (!info.days.empty()) {
        AddNumbers(object, u"Days", info.days);
    }
}

void FillScheduleInfo(CMessageObject& object, const WideString& offset, const WideString& startTime,
                      const CScheduleInfo& info) {
    if (!startTime.empty() && info.localTime) object.AddBool(u"LocalTime", true);
    object.AddString(u"StartTime", startTime.empty() ? u"%Now()%" : startTime);
    if (!offset.empty() && offset != u"0") object.AddString(u"Offset", offset);
    AddRepetition(object, info);
}

bool AddScheduleId(CMessageObject& task, const WideString& scheduleId) {
    if (!scheduleId.empty()) {
        task.AddBool(u"FailIfExists", false);
        task.AddString(u"ScheduleId", scheduleId);
        return true;
    }
    WideString guid;
    if (!platform::NewGuid(guid)) return false;
    task.AddString(u"ScheduleId", u"{" + guid + u"}");
    return true;
}

void AddIdRequest(CMessageObject& request, const char16_t* name, const WideString& scheduleId) {
    request.AddObject(name, true)->AddString(u"ScheduleId", scheduleId);
}

}  // namespace

uint32_t CSchedulerHelper::GetEventHash(const CMessageObject& event, WideString& hash) {
    const Trace::Scope trace("CSchedulerHelper::GetEventHash");
    CMessageObject copy = event;
    RemoveStamps(copy);
    for (CMessageItem& item : copy.items) {
        if (item.kind == KindObject) RemoveStamps(*item.value.object);
    }
    WideString text;
    copy.Serialize(text);
    if (text.empty()) return InvalidParameter;
    std::array<uint8_t, 16> digest{};
    if (!platform::Md5(text.data(), text.size() * sizeof(char16_t), digest)) return BadFormat;
    return AnsiToWide(HexDigits(digest), hash) ? Success : BadFormat;
}

uint32_t CSchedulerHelper::GetRetryId(const CMessageObject& event, WideString& id) {
    const Trace::Scope trace("CSchedulerHelper::GetRetryId");
    WideString hash;
    const uint32_t result = GetEventHash(event, hash);
    WideString name;
    event.GetMessageName(name);
    id = u"Retry " + name + u" " + hash;
    return result;
}

uint32_t CSchedulerHelper::ScheduleEvent(const CMessageObject& event, uint32_t delay,
                                         const WideString& source) {
    const Trace::Scope trace("CSchedulerHelper::ScheduleEvent");
    if (delay == 0) return dispatcher->RaiseEvent(event, EventOrigin::Local);
    WideString id;
    GetRetryId(event, id);  // without a hash the task still goes out
    CMessageObject request;
    const uint32_t result = BuildTaskAdd(request, event, DecimalText(uint64_t{delay}), {}, source, id, {});
    return result != 0 ? result : dispatcher->RaiseEvent(request, EventOrigin::Local);
}

uint32_t CSchedulerHelper::RemoveRetry(const CMessageObject& event) {
    const Trace::Scope trace("CSchedulerHelper::RemoveRetry");
    WideString id;
    const uint32_t result = GetRetryId(event, id);
    if (result != 0) return result;
    return TaskExists(id) ? RemoveTask(id) : Success;
}

uint32_t CSchedulerHelper::BuildTaskAdd(CMessageObject& request, const CMessageObject& event,
                                        const WideString& offset, const WideString& startTime,
                                        const WideString& source, const WideString& scheduleId,
                                        const CScheduleInfo& info) {
    const Trace::Scope trace("CSchedulerHelper::BuildTaskAdd");
    WideString text;
    if (!event.Serialize(text)) return InvalidParameter;
    CMessageObject task(u"SchedulerTaskAdd");
    if (!source.empty()) task.AddString(u"EventSource", source);
    if (!AddScheduleId(task, scheduleId)) return NotEnoughMemory;
    task.AddBool(u"Enabled", true);
    FillScheduleInfo(*task.AddObject(u"ScheduleInfo", true), offset, startTime, info);
    CMessageObject actions = event;
    actions.name = u"Actions";
    task.AddItem(CMessageItem(std::move(actions)), true);
    request.AddObjectCopy(task);
    return Success;
}

bool CSchedulerHelper::BuildTaskRemove(const WideString& scheduleId, CMessageObject& request) {
    const Trace::Scope trace("CSchedulerHelper::BuildTaskRemove");
    if (scheduleId.empty()) return false;
    AddIdRequest(request, u"SchedulerTaskRemove", scheduleId);
    return true;
}

bool CSchedulerHelper::TaskExists(const WideString& scheduleId) {
    const Trace::Scope trace("CSchedulerHelper::TaskExists");
    ConfigUtil* util = GetConfigUtil();
    if (scheduleId.empty() || !util) return false;
    WideString text;
    CMessageObject task;
    return util->ReadValue(u"Scheduler.Tasks." + scheduleId, text, 0) == 0 && task.Parse(text);
}

uint32_t CSchedulerHelper::RemoveTask(const WideString& scheduleId) {
    const Trace::Scope trace("CSchedulerHelper::RemoveTask");
    if (!TaskExists(scheduleId)) return Success;
    CMessageObject request;
    if (!BuildTaskRemove(scheduleId, request)) return NotEnoughMemory;
    return dispatcher->RaiseEvent(request, EventOrigin::Local);
}

uint32_t CSchedulerHelper::RaiseIdRequest(const char16_t* name, const WideString& scheduleId) {
    if (scheduleId.empty()) return Success;
    CMessageObject request;
    AddIdRequest(request, name, scheduleId);
    return dispatcher->RaiseEvent(request, EventOrigin::Local);
}

uint32_t CSchedulerHelper::EnableTask(const WideString& scheduleId) {
    const Trace::Scope trace("CSchedulerHelper::EnableTask");
    return RaiseIdRequest(u"SchedulerTaskEnable", scheduleId);
}

uint32_t CSchedulerHelper::DisableTask(const WideString& scheduleId) {
    const Trace::Scope trace("CSchedulerHelper::DisableTask");
    return RaiseIdRequest(u"SchedulerTaskDisable", scheduleId);
}

}  // namespace orrery
