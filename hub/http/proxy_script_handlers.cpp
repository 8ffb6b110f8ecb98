#include "hub/http/proxy_script_handlers.h"

#include <charconv>
#include <memory>
#include <optional>

namespace orrery::hub {
namespace {

constexpr unsigned maxDelay = 60000;  // milliseconds

struct ProxyScript {
    std::optional<std::string> text;
};

bool ReadDelay(const std::string& text, unsigned& milliseconds) {
    if (text.empty()) return true;
    const char* end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, milliseconds);
    return error == std::errc() && stopped == end && milliseconds <= maxDelay;
}

HttpResponse Serve(const ProxyScript& script, const HttpRequest& request) {
    unsigned delay = 0;
    if (!ReadDelay(request.Query("delay"), delay))
        return ErrorAnswer(400, "delay is 0 to 60000 milliseconds");
    HttpResponse response = script.text ? JsonAnswer(*script.text) : ErrorAnswer(404, "no script was posted");
    if (script.text) response.contentType = "application/x-ns-proxy-autoconfig";
    response.delay = std::chrono::milliseconds(delay);
    return response;
}

}  // namespace

void AddProxyScriptHandlers(Router& router) {
    const auto script = std::make_shared<ProxyScript>();
    router.Add("POST", "/api/pac", [script](const HttpRequest& request) {
        script->text = request.body;
        return JsonAnswer("{}");
    });
    router.Add("GET", "/proxy.pac", [script](const HttpRequest& request) { return Serve(*script, request); });
}

}  // namespace orrery::hub
