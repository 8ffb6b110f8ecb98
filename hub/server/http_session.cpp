#include "hub/server/http_session.h"

#include <algorithm>
#include <boost/asio/write.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/write.hpp>
#include <boost/beast/websocket/rfc6455.hpp>
#include <sstream>

#include "hub/server/web_socket_session.h"

namespace orrery::hub {
namespace {

namespace http = beast::http;

constexpr uint64_t maxBody = uint64_t{64} << 20;   // bytes
constexpr size_t endlessBlock = size_t{64} << 10;  // bytes
constexpr std::chrono::seconds lingerTime{2};

bool MayHaveBody(http::status status) {
    return status != http::status::no_content && status != http::status::not_modified;
}

std::string Text(beast::string_view text) {
    return std::string(text.data(), text.size());
}

HttpRequest Translate(http::request<http::string_body>&& request) {
    HttpRequest translated;
    translated.method = Text(request.method_string());
    ReadTarget({request.target().data(), request.target().size()}, translated);
    for (const auto& field : request) {
        std::string name = Text(field.name_string());
        std::transform(name.begin(), name.end(), name.begin(), beast::detail::ascii_tolower);
        translated.headers[std::move(name)] = Text(field.value());
    }
    translated.body = std::move(request.body());
    return translated;
}

}  // namespace

HttpSession::HttpSession(HubStream stream, const Router& router, DeviceHub& hub, std::string webSocketPath,
                         HubClock clock)
    : stream(std::move(stream)),
      router(router),
      hub(hub),
      webSocketPath(std::move(webSocketPath)),
      clock(clock),
      timer(this->stream.get_executor()) {}

void HttpSession::Start() {
    stream.AsyncHandshake([self = shared_from_this()](error_code failed) {
        if (!failed) self->ReadNext();
    });
}

void HttpSession::ReadNext() {
    parser.emplace();
    parser->body_limit(maxBody);
    http::async_read_header(
        stream, incoming, *parser,
        [self = shared_from_this()](error_code failed, size_t) { self->OnHeader(failed); });
}

void HttpSession::OnHeader(error_code failed) {
    if (failed) return Refuse(failed);
    if (beast::websocket::is_upgrade(parser->get())) return Upgrade(parser->get());
    const bool waits = beast::iequals(parser->get()[http::field::expect], "100-continue");
    waits ? InviteBody() : ReadBody();
}

// Clients with large bodies hold them back, some for a second, until they are asked for.
void HttpSession::InviteBody() {
    response = Response(http::status::continue_, parser->get().version());
    http::async_write(stream, response, [self = shared_from_this()](error_code failed, size_t) {
        if (!failed) self->ReadBody();
    });
}

void HttpSession::ReadBody() {
    http::async_read(stream, incoming, *parser,
                     [self = shared_from_this()](error_code failed, size_t) { self->OnRequest(failed); });
}

void HttpSession::OnRequest(error_code failed) {
    if (failed) return Refuse(failed);
    const bool keepAlive = parser->get().keep_alive();
    Answer(router.Handle(Translate(parser->release())), keepAlive);
}

// After an ill-formed request nobody knows where the next one would begin, so the connection ends.
void HttpSession::Refuse(error_code failed) {
    if (failed == http::error::body_limit) return Answer(ErrorAnswer(413, "the body is too large"), false);
    const bool illFormed = failed.category() == make_error_code(http::error::bad_method).category();
    const bool ended = failed == http::error::end_of_stream || failed == http::error::partial_message;
    if (illFormed && !ended)
        Answer(ErrorAnswer(400, "the request is ill-formed: " + failed.message()), false);
}

void HttpSession::Upgrade(const Request& request) {
    HttpRequest target;
    ReadTarget({request.target().data(), request.target().size()}, target);
    if (target.path != webSocketPath)
        return Answer(ErrorAnswer(404, "no WebSocket at " + target.path), false);
    LinkInfo info{stream.Remote(), std::nullopt};
    const auto viaProxy = request.find("x-zelko-viaproxy");
    if (viaProxy != request.end()) info.viaProxy = Text(viaProxy->value());
    std::make_shared<WebSocketSession>(std::move(stream), hub, std::move(info))
        ->Start(request, clock.HttpDate());
}

void HttpSession::Answer(HttpResponse answer, bool keepAlive) {
    wire = answer.wire;
    response = Response(static_cast<http::status>(answer.status), 11);
    response.set(http::field::date, clock.HttpDate());
    response.set(http::field::content_type, answer.contentType);
    for (const auto& [name, value] : answer.headers) response.set(name, value);
    const bool mayHaveBody = MayHaveBody(response.result());
    if (mayHaveBody) response.body() = std::move(answer.body);
    response.keep_alive(keepAlive && !wire.endless);
    response.prepare_payload();
    if (wire.endless || !mayHaveBody) response.content_length(boost::none);
    if (answer.delay.count() == 0) return Write();
    timer.expires_after(answer.delay);
    timer.async_wait([self = shared_from_this()](error_code) { self->Write(); });
}

void HttpSession::Write() {
    if (wire.cut || wire.endless || wire.trickle.count() > 0) return WriteFaulty();
    http::async_write(stream, response,
                      [self = shared_from_this()](error_code failed, size_t) { self->OnWritten(failed); });
}

// The library writes whole messages; what is to go wrong on the way is written by hand.
void HttpSession::WriteFaulty() {
    std::ostringstream text;
    text << response;
    bytes = text.str();
    if (wire.cut) bytes.resize(std::min(bytes.size(), *wire.cut));
    written = 0;
    WriteBytes();
}

void HttpSession::WriteBytes() {
    if (written == bytes.size() && wire.endless) {
        bytes.assign(endlessBlock, ' ');
        written = 0;
    }
    if (written == bytes.size()) return wire.cut ? Linger() : OnWritten({});
    const size_t size = wire.trickle.count() > 0 ? 1 : bytes.size() - written;
    asio::async_write(stream, asio::buffer(bytes.data() + written, size),
                      [self = shared_from_this()](error_code failed, size_t wrote) {
                          if (!failed) self->OnBytesWritten(wrote);
                      });
}

void HttpSession::OnBytesWritten(size_t size) {
    written += size;
    if (wire.trickle.count() == 0) return WriteBytes();
    timer.expires_after(wire.trickle);
    timer.async_wait([self = shared_from_this()](error_code) { self->WriteBytes(); });
}

void HttpSession::OnWritten(error_code failed) {
    if (failed) return;
    response.keep_alive() ? ReadNext() : Linger();
}

// A connection closed over unread bytes is reset, and the answer with it. So the peer may finish first.
void HttpSession::Linger() {
    error_code ignored;
    stream.Socket().shutdown(asio::socket_base::shutdown_send, ignored);
    timer.expires_after(lingerTime);
    timer.async_wait([self = shared_from_this()](error_code cancelled) {
        if (!cancelled) self->stream.Reset();
    });
    Discard();
}

void HttpSession::Discard() {
    incoming.clear();
    stream.async_read_some(incoming.prepare(size_t{64} << 10),
                           [self = shared_from_this()](error_code failed, size_t) {
                               failed ? void(self->timer.cancel()) : self->Discard();
                           });
}

}  // namespace orrery::hub
