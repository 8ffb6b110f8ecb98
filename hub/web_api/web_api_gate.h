// What every request of a device's Web API and services passes: pending faults, the check of the signature,
// the record of the exchange. What a request asks for is the handlers' affair; the gate words their refusals
// as the error envelope that devices read. The server's one thread.
#pragma once

#include <optional>
#include <string>

#include "hub/base/hub_clock.h"
#include "hub/base/log_line.h"
#include "hub/faults/fault_list.h"
#include "hub/http/router.h"
#include "hub/web_api/exchange_log.h"
#include "hub/web_api/request_authorization.h"

namespace orrery::hub {

class WebApiGate {
  public:
    // The references must outlive the gate.
    WebApiGate(std::string secret, HubClock clock, LogLine log, const Router& handlers, FaultList& faults,
               ExchangeLog& exchanges);

    HttpResponse Handle(const HttpRequest& request);

  private:
    HttpResponse Genuine(const HttpRequest& request, const Authorization& authorization) const;
    HttpResponse Faulty(const Fault& fault) const;
    std::string Envelope(unsigned status, const std::string& message,
                         const std::optional<std::string>& actions) const;
    void Spoil(HttpResponse& answer, const Fault& fault) const;
    void Record(const HttpRequest& request, const Authorization& authorization, const HttpResponse& answer,
                const std::optional<Fault>& fault);

    const std::string secret;
    const HubClock clock;
    const LogLine log;
    const Router& handlers;
    FaultList& faults;
    ExchangeLog& exchanges;
};

}  // namespace orrery::hub
