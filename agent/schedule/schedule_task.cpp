#include "agent/schedule/schedule_task.h"

#include <algorithm>
#include <charconv>

#include "platform/error_codes.h"

namespace orrery::agent {

const WideString taskKeyPrefix = u"Scheduler.Tasks.";

namespace {

// A century: beyond it a delay is a mistake, and below it no sum of times leaves 64 bits.
constexpr int64_t mostSeconds = 100LL * 366 * 86'400;

// A whole number of seconds, as a number or as decimal text. An absent member leaves `seconds` at 0.
bool ReadSeconds(const CMessageObject& object, WideView key, int64_t& seconds) {
    const CMessageItem* item = nullptr;
    if (!object.Find(key, item)) return true;
    int64_t number = -1;
    if (item->kind == KindInteger) {
        number = item->value.integer;
    } else if (item->kind == KindString) {
        const std::string text = ToUtf8(item->text);
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        if (error != std::errc() || end != text.data() + text.size()) return false;
    }
    if (number < 0 || number > mostSeconds) return false;
    seconds = number;
    return true;
}

bool ReadFlag(const CMessageObject& object, WideView key, bool fallback) {
    bool value = fallback;
    return object.GetBool(key, value) ? value : fallback;
}

bool HasAction(const CMessageObject& body) {
    const CMessageObject* actions = nullptr;
    return body.GetObject(u"Actions", actions) &&
           std::ranges::any_of(actions->items, [](const CMessageItem& item) { return item.AsObject(); });
}

bool StartsNow(const CMessageObject& info) {
    WideString start;
    return !info.GetString(u"StartTime", start) || start == u"%Now()%";
}

bool ReadStart(const CMessageObject& info, int64_t now, int64_t& start) {
    if (StartsNow(info)) {
        start = now;
        return true;
    }
    WideString text;
    info.GetString(u"StartTime", text);
    const bool local = ReadFlag(info, u"LocalTime", false);
    return ParseTimeText(ToUtf8(text), local ? UnnamedZone::Local : UnnamedZone::Utc, start);
}

// Everything but the time of the next run.
bool ReadMembers(const CMessageObject& body, ScheduleTask& task, const CMessageObject*& info,
                 int64_t& delay) {
    const CMessageItem* repetition = nullptr;
    int64_t every = 0;
    if (!body.GetString(u"ScheduleId", task.id) || task.id.empty() || !HasAction(body)) return false;
    if (!body.GetObject(u"ScheduleInfo", info)) return false;
    if (!ReadSeconds(*info, u"Offset", delay) || !ReadSeconds(*info, u"Every", every)) return false;
    if (every == 0 && info->Find(u"Repetition", repetition)) return false;
    task.every = every * 1000;
    delay *= 1000;
    task.enabled = ReadFlag(body, u"Enabled", true);
    task.failIfExists = ReadFlag(body, u"FailIfExists", false);
    if (StartsNow(*info)) task.longestWait = std::max(delay, task.every);
    task.request = body;
    task.request.name.clear();
    return true;
}

}  // namespace

uint32_t ReadTaskRequest(const CMessageObject& body, int64_t now, ScheduleTask& task) {
    const CMessageObject* info = nullptr;
    int64_t delay = 0;
    int64_t start = 0;
    ScheduleTask read;
    if (!ReadMembers(body, read, info, delay) || !ReadStart(*info, now, start)) return InvalidParameter;
    read.next = start + delay;
    task = std::move(read);
    return Success;
}

WideString StoredTaskText(const ScheduleTask& task) {
    CMessageObject document(task.request);
    document.AddItem(CMessageItem(u"Enabled", task.enabled), true);
    document.AddItem(CMessageItem(u"NextTime", ToWide(UtcText(task.next))), true);
    WideString text;
    return document.Serialize(text) ? text : WideString();
}

bool ReadStoredTask(WideView text, ScheduleTask& task) {
    CMessageObject document;
    const CMessageObject* info = nullptr;
    WideString nextText;
    int64_t delay = 0;
    ScheduleTask read;
    if (!document.Parse(text) || document.isArray || !document.GetString(u"NextTime", nextText)) return false;
    if (!ParseTimeText(ToUtf8(nextText), UnnamedZone::Utc, read.next)) return false;
    document.Remove(u"NextTime");
    if (!ReadMembers(document, read, info, delay)) return false;
    task = std::move(read);
    return true;
}

std::vector<CMessageObject> TaskEvents(const ScheduleTask& task) {
    std::vector<CMessageObject> events;
    const CMessageObject* actions = nullptr;
    if (!task.request.GetObject(u"Actions", actions)) return events;
    WideString taskSource;
    task.request.GetString(u"EventSource", taskSource);
    for (const CMessageItem& action : actions->items) {
        const CMessageObject* event = action.AsObject();
        if (!event) continue;
        CMessageObject body(*event);
        const CMessageItem* source = nullptr;
        body.name = action.name;
        if (!body.Find(u"EventSource", source) && !taskSource.empty())
            body.AddString(u"EventSource", taskSource);
        events.emplace_back().AddObjectCopy(body);
    }
    return events;
}

}  // namespace orrery::agent
