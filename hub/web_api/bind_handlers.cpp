#include "hub/web_api/bind_handlers.h"

#include "hub/base/json_text.h"
#include "hub/web_api/request_authorization.h"

namespace orrery::hub {
namespace {

HttpResponse Bind(DeviceHub& hub, const HttpRequest& request) {
    const auto body = ReadObject(request.body);
    if (!body.is_object()) return ErrorAnswer(400, unreadableBody);
    std::optional<int64_t> provider;
    std::optional<std::string> recipient;
    const auto number = body.find("NotificationProvider");
    if (number != body.end() && number->is_number_integer()) provider = number->get<int64_t>();
    const auto text = body.find("RecipientId");
    if (text != body.end() && text->is_string()) recipient = text->get<std::string>();
    hub.Bind(ClaimedDevice(request).value_or(""), provider, std::move(recipient));
    return JsonAnswer("{}");
}

}  // namespace

void AddBindHandlers(Router& router, DeviceHub& hub) {
    router.Add("POST", "/webapi/bind", [&hub](const HttpRequest& request) { return Bind(hub, request); });
}

}  // namespace orrery::hub
