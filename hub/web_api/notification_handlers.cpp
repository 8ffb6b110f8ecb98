#include "hub/web_api/notification_handlers.h"

#include "hub/base/json_text.h"

namespace orrery::hub {
namespace {

using Json = nlohmann::ordered_json;

HttpResponse ListData(const DataStore& data) {
    Json list = Json::array();
    for (const auto& [key, resource] : data.All()) {
        const auto& [service, product, id] = key;
        list.push_back({{"service", service},
                        {"product", product},
                        {"id", id},
                        {"etag", resource.tag},
                        {"size", resource.data.size()},
                        {"data", Shown(resource.data)}});
    }
    return JsonAnswer(Dump(list));
}

HttpResponse Notify(DataStore& data, const HttpRequest& request) {
    Json body = ReadObject(request.body);
    if (!body.is_object()) return ErrorAnswer(400, unreadableBody);
    body.emplace("service", "notifications");
    body.emplace("product", "1");
    for (const char* name : {"id", "service", "product"}) {
        if (!body.contains(name) || !body[name].is_string())
            return ErrorAnswer(400, std::string(name) + " is missing or no string");
    }
    const Json message = body.value("message", Json());
    if (!message.is_object() && !message.is_string())
        return ErrorAnswer(400, "message is missing or neither object nor string");
    const DataStore::Key key(body["service"], body["product"], body["id"]);
    if (!data.Find(key)) return ErrorAnswer(404, "there is no " + std::get<2>(key));
    const std::string text = message.is_string() ? message.get<std::string>() : Dump(message);
    return JsonAnswer(Dump({{"etag", data.Put(key, text).tag}}));
}

}  // namespace

void AddNotificationHandlers(Router& router, DataStore& data) {
    router.Add("GET", "/api/data", [&data](const HttpRequest&) { return ListData(data); });
    router.Add("POST", "/api/notify", [&data](const HttpRequest& request) { return Notify(data, request); });
}

}  // namespace orrery::hub
