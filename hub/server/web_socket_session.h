// One WebSocket connection of a device: reads frames for the hub, writes what the hub queues, ends as the hub
// says. It knows nothing of the protocol within the frames. It keeps itself alive while an operation is in
// flight or the connection is held in a stall. Everything runs on the server's one thread.
#pragma once

#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <deque>
#include <memory>

#include "hub/devices/device_hub.h"
#include "hub/server/clock_timer.h"
#include "hub/server/hub_stream.h"

namespace orrery::hub {

class WebSocketSession final : public IDeviceLink, public std::enable_shared_from_this<WebSocketSession> {
  public:
    // The hub must outlive the session.
    WebSocketSession(HubStream stream, DeviceHub& hub, LinkInfo info);

    // Answers the upgrade request, with that `Date`, then serves the connection to its end.
    void Start(const beast::http::request<beast::http::string_body>& upgrade, const std::string& date);

    const LinkInfo& Info() const override { return info; }
    void Send(Frame frame, FrameKind kind) override;
    void Close(uint16_t code) override;
    void Drop() override;
    void Stall() override;

  private:
    enum class State { Open, Closing, Stalled, Ended };
    struct Outgoing {
        Frame frame;
        FrameKind kind;
    };

    void ReadNext();
    void OnRead(error_code failed);
    void WriteNext();
    void OnWritten(error_code failed);
    void SendClose();
    void ArmDeadline();
    void WatchPeer();
    bool PeerIsGone();
    void End();
    HubStream& Stream() { return socket.next_layer(); }

    beast::websocket::stream<HubStream, false> socket;  // false: no compression
    DeviceHub& hub;
    const LinkInfo info;
    beast::flat_buffer incoming;
    std::deque<Outgoing> queue;  // the front one is being written if `writing`
    size_t queuedBytes = 0;
    bool writing = false;
    State state = State::Open;
    uint16_t closeCode = 0;  // set while Closing by our own wish
    ClockTimer timer;        // the deadline of a close, or the next look at a stalled peer
};

}  // namespace orrery::hub
