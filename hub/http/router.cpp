#include "hub/http/router.h"

namespace orrery::hub {

void Router::Add(const std::string& method, const std::string& path, Handler handler) {
    paths[path][method] = std::move(handler);
}

void Router::AddPrefix(const std::string& prefix, Handler handler) {
    prefixes.emplace_back(prefix, std::move(handler));
}

HttpResponse Router::Handle(const HttpRequest& request) const {
    const auto path = paths.find(request.path);
    if (path == paths.end()) return HandleByPrefix(request);
    const Methods& methods = path->second;
    const auto method = methods.find(request.method);
    if (method != methods.end()) return method->second(request);

    HttpResponse response = ErrorAnswer(405, request.path + " does not take " + request.method);
    std::string& allow = response.headers["Allow"];
    for (const auto& [name, handler] : methods) allow += (allow.empty() ? "" : ", ") + name;
    return response;
}

HttpResponse Router::HandleByPrefix(const HttpRequest& request) const {
    for (const auto& [prefix, handler] : prefixes) {
        if (request.path.starts_with(prefix)) return handler(request);
    }
    return ErrorAnswer(404, "there is no " + request.path);
}

}  // namespace orrery::hub
