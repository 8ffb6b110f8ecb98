#include "hub/faults/fault_handlers.h"

#include <algorithm>

#include "hub/base/json_text.h"

namespace orrery::hub {
namespace {

using Json = nlohmann::ordered_json;

constexpr int64_t maxWait = 600'000;              // milliseconds
constexpr int64_t maxDateOffset = 1'000'000'000;  // seconds; keeps the year at four digits
constexpr int64_t maxCount = 1'000'000'000;

struct Member {
    const char* name;
    const char* expected;
    bool (*read)(const Json& value, Fault& fault);
};

template <class Number>
bool ReadNumber(const Json& value, int64_t least, int64_t most, Number& number) {
    if (!value.is_number_integer() || (value.is_number_unsigned() && value.get<uint64_t>() > INT64_MAX))
        return false;
    const int64_t read = value.get<int64_t>();
    number = static_cast<Number>(read);
    return read >= least && read <= most;
}

bool ReadStatus(const Json& value, Fault& fault) {
    return ReadNumber(value, 200, 999, fault.status.emplace());
}

bool ReadWait(const Json& value, std::chrono::milliseconds& wait) {
    int64_t count = 0;
    const bool good = ReadNumber(value, 1, maxWait, count);
    wait = std::chrono::milliseconds(count);
    return good;
}

bool ReadMatch(const Json& value, Fault& fault) {
    if (!value.is_string()) return false;
    fault.match = value.get<std::string>();
    return fault.match.starts_with('/');
}

bool ReadBool(const Json& value, bool& flag) {
    if (value.is_boolean()) flag = value.get<bool>();
    return value.is_boolean();
}

// A line end would begin another header.
bool ReadEntityTag(const Json& value, Fault& fault) {
    if (!value.is_string()) return false;
    const std::string& tag = fault.entityTag.emplace(value.get<std::string>());
    return std::none_of(tag.begin(), tag.end(), [](char c) { return (c >= 0 && c < ' ') || c == 127; });
}

constexpr Member members[] = {
    {"match", "a text that begins with a slash", ReadMatch},
    {"count", "1 to 1000000000",
     [](const Json& v, Fault& fault) { return ReadNumber(v, 1, maxCount, fault.count); }},
    {"status", "200 to 999", ReadStatus},
    {"actions", "an object",
     [](const Json& v, Fault& fault) {
         fault.actions = Dump(v);
         return v.is_object();
     }},
    {"envelope", "true or false", [](const Json& v, Fault& fault) { return ReadBool(v, fault.envelope); }},
    {"body", "a text",
     [](const Json& v, Fault& fault) {
         if (v.is_string()) fault.body = v.get<std::string>();
         return v.is_string();
     }},
    {"delay", "1 to 600000 milliseconds",
     [](const Json& v, Fault& fault) { return ReadWait(v, fault.delay); }},
    {"cut", "a number of bytes from 0 on",
     [](const Json& v, Fault& fault) { return ReadNumber(v, 0, INT64_MAX, fault.wire.cut.emplace()); }},
    {"gzip", "\"broken\"",
     [](const Json& v, Fault& fault) {
         fault.brokenGzip = true;
         return v == "broken";
     }},
    {"endless", "true or false", [](const Json& v, Fault& fault) { return ReadBool(v, fault.wire.endless); }},
    {"trickle", "1 to 600000 milliseconds",
     [](const Json& v, Fault& fault) { return ReadWait(v, fault.wire.trickle); }},
    {"dateOffset", "-1000000000 to 1000000000 seconds",
     [](const Json& v, Fault& fault) {
         return ReadNumber(v, -maxDateOffset, maxDateOffset, fault.dateOffset);
     }},
    {"etag", "a text of one line", ReadEntityTag},
};

const Member* FindMember(const std::string& name) {
    const auto* const found = std::find_if(std::begin(members), std::end(members),
                                           [&](const Member& member) { return member.name == name; });
    return found != std::end(members) ? found : nullptr;
}

// What is wrong; empty if nothing is.
std::string ReadMembers(const Json& body, Fault& fault) {
    for (const auto& [name, value] : body.items()) {
        const Member* member = FindMember(name);
        if (!member) return name + " is unknown";
        if (!member->read(value, fault)) return name + " is to be " + member->expected;
    }
    for (const char* name : {"actions", "envelope", "body"}) {
        if (body.contains(name) && !fault.status) return std::string(name) + " goes with a status only";
    }
    if (fault.wire.endless && fault.wire.cut) return "endless and cut exclude each other";
    const bool harmless = body.size() == body.count("match") + body.count("count");
    return harmless ? "the fault does nothing: status, delay, cut, gzip, endless, trickle, dateOffset or etag"
                    : "";
}

HttpResponse AddFault(FaultList& faults, const HttpRequest& request) {
    const Json body = ReadObject(request.body);
    if (!body.is_object()) return ErrorAnswer(400, unreadableBody);
    Fault fault;
    const std::string wrong = ReadMembers(body, fault);
    if (!wrong.empty()) return ErrorAnswer(400, wrong);
    fault.description = Dump(body);
    faults.Add(std::move(fault));
    return JsonAnswer("{}");
}

HttpResponse ListFaults(const FaultList& faults) {
    Json list = Json::array();
    for (const Fault& fault : faults.Pending()) {
        list.push_back(Json::parse(fault.description));
        list.back()["count"] = fault.count;
    }
    return JsonAnswer(Dump(list));
}

}  // namespace

void AddFaultHandlers(Router& router, FaultList& faults) {
    router.Add("POST", "/api/faults",
               [&faults](const HttpRequest& request) { return AddFault(faults, request); });
    router.Add("GET", "/api/faults", [&faults](const HttpRequest&) { return ListFaults(faults); });
    router.Add("DELETE", "/api/faults", [&faults](const HttpRequest&) {
        faults.Clear();
        return JsonAnswer("{}");
    });
}

}  // namespace orrery::hub
