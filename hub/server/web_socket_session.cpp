#include "hub/server/web_socket_session.h"

#include <poll.h>

#include <boost/beast/websocket/rfc6455.hpp>

namespace orrery::hub {
namespace {

constexpr size_t maxIncomingFrame = size_t{16} << 20;    // bytes
constexpr size_t maxQueuedBytes = size_t{256} << 20;     // bytes, the frame being written included
constexpr size_t keptIncomingBuffer = size_t{64} << 10;  // bytes; a thousand idle devices should stay small
constexpr std::chrono::seconds closeDeadline{5};
constexpr std::chrono::seconds stalledPeerCheck{1};

}  // namespace

WebSocketSession::WebSocketSession(HubStream stream, DeviceHub& hub, LinkInfo info)
    : socket(std::move(stream)), hub(hub), info(std::move(info)), timer(socket.get_executor()) {
    socket.set_option(beast::websocket::stream_base::timeout{beast::websocket::stream_base::none(),
                                                             beast::websocket::stream_base::none(), false});
    socket.read_message_max(maxIncomingFrame);
    socket.auto_fragment(false);
}

void WebSocketSession::Start(const beast::http::request<beast::http::string_body>& upgrade,
                             const std::string& date) {
    socket.set_option(beast::websocket::stream_base::decorator(
        [date](beast::websocket::response_type& answer) { answer.set(beast::http::field::date, date); }));
    // A peer that says goodbye and then neither reads nor closes would hold the session for good. The
    // callback lives in `socket`, so that it can't outlive this object.
    socket.control_callback([this](beast::websocket::frame_type type, beast::string_view) {
        if (type == beast::websocket::frame_type::close && state == State::Open) ArmDeadline();
    });
    socket.async_accept(upgrade, [self = shared_from_this()](error_code failed) {
        if (!failed) self->ReadNext();
    });
}

void WebSocketSession::Send(Frame frame, FrameKind kind) {
    if (state != State::Open && state != State::Stalled) return;
    queuedBytes += frame->size();
    if (queuedBytes > maxQueuedBytes) return Drop();
    queue.push_back({std::move(frame), kind});
    WriteNext();
}

void WebSocketSession::Close(uint16_t code) {
    if (state != State::Open) return;
    state = State::Closing;
    closeCode = code;
    ArmDeadline();
    WriteNext();
}

// The read in flight fails by this and ends the session; for a stalled one the watch does.
void WebSocketSession::Drop() {
    Stream().Reset();
    if (state == State::Stalled) timer.cancel();
}

void WebSocketSession::Stall() {
    if (state != State::Open) return;
    state = State::Stalled;
    error_code ignored;
    Stream().Socket().cancel(ignored);
    WatchPeer();
}

void WebSocketSession::ReadNext() {
    socket.async_read(incoming,
                      [self = shared_from_this()](error_code failed, size_t) { self->OnRead(failed); });
}

void WebSocketSession::OnRead(error_code failed) {
    if (state == State::Stalled) return;
    if (failed) return End();
    if (state == State::Open && socket.got_text()) {
        hub.Received(*this, {static_cast<const char*>(incoming.data().data()), incoming.size()});
    } else if (state == State::Open) {
        hub.ReceivedBinary(*this);
    }
    incoming.clear();
    if (incoming.capacity() > keptIncomingBuffer) incoming.shrink_to_fit();
    ReadNext();
}

void WebSocketSession::WriteNext() {
    if (writing || state == State::Stalled || state == State::Ended) return;
    if (queue.empty()) return SendClose();
    writing = true;
    const Outgoing& next = queue.front();
    socket.text(next.kind == FrameKind::Text);
    socket.async_write(asio::buffer(*next.frame),
                       [self = shared_from_this()](error_code failed, size_t) { self->OnWritten(failed); });
}

void WebSocketSession::OnWritten(error_code failed) {
    writing = false;
    if (failed || state == State::Stalled || state == State::Ended) return;
    queuedBytes -= queue.front().frame->size();
    queue.pop_front();
    WriteNext();
}

void WebSocketSession::SendClose() {
    if (closeCode == 0) return;
    // A later WriteNext must not close twice.
    const beast::websocket::close_reason reason(std::exchange(closeCode, uint16_t{0}));
    socket.async_close(reason, [self = shared_from_this()](error_code) {});
}

void WebSocketSession::ArmDeadline() {
    timer.expires_after(closeDeadline);
    timer.async_wait([self = shared_from_this()](error_code cancelled) {
        if (!cancelled) self->Stream().Reset();
    });
}

void WebSocketSession::WatchPeer() {
    timer.expires_after(stalledPeerCheck);
    timer.async_wait([self = shared_from_this()](error_code) {
        if (self->PeerIsGone()) return self->End();
        self->WatchPeer();
    });
}

// Asks without reading, for what the peer has sent stays where it is.
bool WebSocketSession::PeerIsGone() {
    if (!Stream().Socket().is_open()) return true;
    pollfd peer{Stream().Socket().native_handle(), POLLRDHUP, 0};
    return poll(&peer, 1, 0) > 0;
}

void WebSocketSession::End() {
    state = State::Ended;
    hub.Lost(*this);
    timer.cancel();
    error_code ignored;
    Stream().Socket().close(ignored);
}

}  // namespace orrery::hub
