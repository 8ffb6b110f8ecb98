// From method and path to the handler; answers 404 and 405 itself. It knows no sockets and gives handlers no
// thread of their own: they run where Handle is called, one at a time, and must not wait.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "hub/http/http_message.h"

namespace orrery::hub {

class Router {
  public:
    using Handler = std::function<HttpResponse(const HttpRequest& request)>;

    // The path is exact, case included. A second handler for the same method and path replaces the first.
    void Add(const std::string& method, const std::string& path, Handler handler);
    // For all that begins with `prefix`, whatever the method, and has no exact path.
    void AddPrefix(const std::string& prefix, Handler handler);
    HttpResponse Handle(const HttpRequest& request) const;

  private:
    using Methods = std::map<std::string, Handler>;

    HttpResponse HandleByPrefix(const HttpRequest& request) const;

    std::map<std::string, Methods> paths;
    std::vector<std::pair<std::string, Handler>> prefixes;
};

}  // namespace orrery::hub
