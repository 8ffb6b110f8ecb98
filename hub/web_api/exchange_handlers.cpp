#include "hub/web_api/exchange_handlers.h"

namespace orrery::hub {

void AddExchangeHandlers(Router& router, ExchangeLog& exchanges) {
    router.Add("GET", "/api/exchanges", [&exchanges](const HttpRequest&) {
        std::string list;
        for (const std::string& exchange : exchanges.All()) list += (list.empty() ? "" : ",") + exchange;
        return JsonAnswer('[' + list + ']');
    });
    router.Add("DELETE", "/api/exchanges", [&exchanges](const HttpRequest&) {
        exchanges.Clear();
        return JsonAnswer("{}");
    });
}

}  // namespace orrery::hub
