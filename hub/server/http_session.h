// One accepted connection while it speaks HTTP: TLS handshake if there is to be one, then request after
// request through the router, until the peer ends or asks for a WebSocket, which takes the connection over.
// It keeps itself alive while an operation is in flight. Everything runs on the server's one thread.
#pragma once

#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <memory>
#include <optional>
#include <string>

#include "hub/base/hub_clock.h"
#include "hub/devices/device_hub.h"
#include "hub/http/router.h"
#include "hub/server/clock_timer.h"
#include "hub/server/hub_stream.h"

namespace orrery::hub {

class HttpSession final : public std::enable_shared_from_this<HttpSession> {
  public:
    // Router and hub must outlive the session. A WebSocket is to be had at `webSocketPath` only.
    HttpSession(HubStream stream, const Router& router, DeviceHub& hub, std::string webSocketPath,
                HubClock clock);

    void Start();

  private:
    using Request = beast::http::request<beast::http::string_body>;
    using Response = beast::http::response<beast::http::string_body>;

    void ReadNext();
    void OnHeader(error_code failed);
    void InviteBody();
    void ReadBody();
    void OnRequest(error_code failed);
    void Refuse(error_code failed);
    void Upgrade(const Request& request);
    void Answer(HttpResponse answer, bool keepAlive);
    void Write();
    void WriteFaulty();
    void WriteBytes();
    void OnBytesWritten(size_t size);
    void OnWritten(error_code failed);
    void Linger();
    void Discard();

    HubStream stream;
    const Router& router;
    DeviceHub& hub;
    const std::string webSocketPath;
    const HubClock clock;
    beast::flat_buffer incoming;
    std::optional<beast::http::request_parser<beast::http::string_body>> parser;  // one for each request
    Response response;
    WireFault wire;      // of the response
    std::string bytes;   // a faulty response, or a block of a body without end
    size_t written = 0;  // of `bytes`
    ClockTimer timer;    // the delay of an answer or of its next byte, or the end of lingering
};

}  // namespace orrery::hub
