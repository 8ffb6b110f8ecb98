#include "hub/web_api/web_api_gate.h"

#include "hub/base/json_text.h"

namespace orrery::hub {
namespace {

using Json = nlohmann::ordered_json;

constexpr size_t maxShownFault = 4096;  // bytes

Json HeaderOf(const HttpRequest& request, const char* name) {
    const auto value = request.Header(name);
    return value ? Json(*value) : Json();
}

// A thousand records must not hold a large text a thousand times.
Json ShownFault(const std::optional<Fault>& fault) {
    if (!fault) return {};
    Json shown = Json::parse(fault->description);
    if (fault->description.size() > maxShownFault) {
        shown.erase("body");
        shown.erase("actions");
    }
    return shown;
}

}  // namespace

WebApiGate::WebApiGate(std::string secret, HubClock clock, LogLine log, const Router& handlers,
                       FaultList& faults, ExchangeLog& exchanges)
    : secret(std::move(secret)),
      clock(clock),
      log(std::move(log)),
      handlers(handlers),
      faults(faults),
      exchanges(exchanges) {}

HttpResponse WebApiGate::Handle(const HttpRequest& request) {
    const Authorization authorization = Authorize(request, secret, clock);
    const std::optional<Fault> fault = faults.Take(request.target);
    HttpResponse answer = fault && fault->ReplacesAnswer() ? Faulty(*fault) : Genuine(request, authorization);
    if (fault) Spoil(answer, *fault);
    Record(request, authorization, answer, fault);
    return answer;
}

HttpResponse WebApiGate::Genuine(const HttpRequest& request, const Authorization& authorization) const {
    HttpResponse answer = authorization.status == 200
                              ? handlers.Handle(request)
                              : ErrorAnswer(authorization.status, authorization.reason);
    if (!answer.error.empty()) answer.body = Envelope(answer.status, answer.error, std::nullopt);
    return answer;
}

HttpResponse WebApiGate::Faulty(const Fault& fault) const {
    HttpResponse answer;
    answer.status = fault.status.value_or(200);
    if (fault.body) {
        answer.body = *fault.body;
    } else if (!fault.envelope) {
        answer.contentType = "text/html";
        answer.body = "<html><body></body></html>";
    } else {
        answer.body = Envelope(answer.status, "as a fault demands", fault.actions);
    }
    return answer;
}

std::string WebApiGate::Envelope(unsigned status, const std::string& message,
                                 const std::optional<std::string>& actions) const {
    Json envelope{{"Code", std::to_string(status)},
                  {"Message", message},
                  {"ServerTime", std::to_string(clock.Seconds())}};
    if (actions) envelope["Actions"] = Json::parse(*actions);
    return Dump(envelope);
}

void WebApiGate::Spoil(HttpResponse& answer, const Fault& fault) const {
    answer.delay = fault.delay;
    answer.wire = fault.wire;
    if (fault.brokenGzip) {
        answer.headers["Content-Encoding"] = "gzip";
        answer.body = "no gzip stream begins like this";
    }
    if (fault.dateOffset != 0) answer.headers["Date"] = clock.HttpDate(fault.dateOffset);
    if (fault.entityTag) answer.headers["ETag"] = *fault.entityTag;
}

void WebApiGate::Record(const HttpRequest& request, const Authorization& authorization,
                        const HttpResponse& answer, const std::optional<Fault>& fault) {
    const auto device = ClaimedDevice(request);
    exchanges.Add(Dump({{"time", clock.Iso()},
                        {"method", request.method},
                        {"target", request.target},
                        {"device", device ? Json(*device) : Json()},
                        {"authorized", authorization.reason},
                        {"status", answer.wire.cut ? Json("cut") : Json(answer.status)},
                        {"etag", HeaderOf(request, "if-none-match")},
                        {"contentType", HeaderOf(request, "content-type")},
                        {"via", HeaderOf(request, "via")},
                        {"label", HeaderOf(request, "x-zelko-label")},
                        {"last", HeaderOf(request, "x-zelko-last")},
                        {"size", request.body.size()},
                        {"body", Shown(request.body)},
                        {"fault", ShownFault(fault)}}));
    if (!log) return;
    log(request.method + ' ' + Quoted(request.target) + " of " + (device ? Quoted(*device) : "nobody") +
        ": " + std::to_string(answer.status) +
        (authorization.status == 200 ? "" : ", " + authorization.reason) + (fault ? ", with a fault" : ""));
}

}  // namespace orrery::hub
