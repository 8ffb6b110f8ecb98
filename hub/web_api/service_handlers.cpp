#include "hub/web_api/service_handlers.h"

#include <algorithm>

namespace orrery::hub {
namespace {

using Parts = std::vector<std::string>;

HttpResponse Answer(unsigned status, const DataStore::Resource& resource, std::string body) {
    HttpResponse answer = JsonAnswer(std::move(body));
    answer.status = status;
    answer.headers["ETag"] = resource.tag;
    return answer;
}

// Weak tags, lists and the asterisk are no device's.
bool IsTag(const std::string& text) {
    return text.size() >= 2 && text.find('"') == 0 && text.find('"', 1) == text.size() - 1;
}

HttpResponse GetData(const DataStore& data, const DataStore::Key& key, const HttpRequest& request) {
    const DataStore::Resource* resource = data.Find(key);
    if (!resource) return ErrorAnswer(404, "there is no " + std::get<2>(key));
    const auto asked = request.Header("if-none-match");
    if (asked && !IsTag(*asked)) return ErrorAnswer(400, "If-None-Match is no tag in quotes");
    return asked == resource->tag ? Answer(304, *resource, "") : Answer(200, *resource, resource->data);
}

HttpResponse PutData(DataStore& data, const DataStore::Key& key, const HttpRequest& request) {
    const unsigned status = data.Find(key) ? 200 : 201;
    return Answer(status, data.Put(key, request.body), "{}");
}

HttpResponse WrongMethod(const HttpRequest& request, const char* allowed) {
    HttpResponse answer = ErrorAnswer(405, request.path + " does not take " + request.method);
    answer.headers["Allow"] = allowed;
    return answer;
}

// The one method of what is handed in, null for other paths.
const char* MethodOf(const Parts& parts) {
    const std::string kind = parts.size() > 4 ? parts[3] : "";
    if (kind == "files" && parts.size() == 6) return "PUT";
    if (kind == "queues" && parts.size() == 5) return "POST";
    if (kind == "containers" && parts.size() == 7) return "PUT";
    return nullptr;
}

HttpResponse Serve(DataStore& data, const HttpRequest& request) {
    const Parts parts = PathParts(request.target);
    const bool whole = std::find(parts.begin(), parts.end(), "") == parts.end();
    if (whole && parts.size() == 4) {
        const DataStore::Key key(parts[1], parts[2], parts[3]);
        if (request.method == "GET") return GetData(data, key, request);
        if (request.method == "PUT") return PutData(data, key, request);
        return WrongMethod(request, "GET, PUT");
    }
    const char* method = whole ? MethodOf(parts) : nullptr;
    if (!method) return ErrorAnswer(404, "there is no " + request.path);
    return request.method == method ? JsonAnswer("{}") : WrongMethod(request, method);
}

}  // namespace

void AddServiceHandlers(Router& router, DataStore& data) {
    router.AddPrefix("/services/", [&data](const HttpRequest& request) { return Serve(data, request); });
}

}  // namespace orrery::hub
