// One WebSocket connection from the attempt to its end: the library's client, whether the connection stands,
// and who still hears of it. It knows no candidates, no retries and no protocol, and converts no text.
//
// Every operation may be called on any thread, that of a handler included. The handlers run on threads of the
// library and of the reaper, one message after the other, the close once and last; no lock is held meanwhile.
// Whoever lets go of the object last, on whatever thread, gives it to the reaper, which closes what still
// stands and waits: the library never ends a client on a thread of its own, and can take 10 seconds for it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/mutex.h"

namespace web::websockets::client {
class websocket_incoming_message;
}

namespace orrery {

struct ProxyCandidate;

// What the network refused; the number is the library's.
struct WebSocketFailure final : std::runtime_error {
    WebSocketFailure(const std::string& text, int32_t code) : std::runtime_error(text), code(code) {}
    const int32_t code;
};

class WebSocketConnection final : public std::enable_shared_from_this<WebSocketConnection> {
  public:
    // What leaves one is traced and goes no further.
    struct Handlers {
        std::function<void(std::string_view utf8)> message;
        // Of a connection that stood: lost, closed or dropped.
        std::function<void(int32_t status, const std::string& reason, int32_t error)> close;
    };

    // One object for one attempt, as the library dies of a second. Throws what the library throws.
    static std::shared_ptr<WebSocketConnection> Make(const ProxyCandidate& candidate,
                                                     bool validateCertificates, Handlers handlers);
    WebSocketConnection(const WebSocketConnection&) = delete;
    WebSocketConnection& operator=(const WebSocketConnection&) = delete;

    // Waits for the handshake: up to 5 seconds for each of its steps, and the look-up of the name. If it
    // fails it is false, or throws: std::system_error for what the network does, others for a URI that the
    // library refuses. What comes from the server then waits for Start.
    bool Open(const std::string& uri);
    // From here on it stands and the handlers are called. False if it is lost already; they then never are.
    bool Start() EXCLUDES(lock);
    // Until the library reports the end.
    bool Stands() EXCLUDES(lock);
    // Waits until the frame is queued. False if it doesn't stand or is being closed; throws what the library
    // throws.
    bool Send(const std::string& utf8) EXCLUDES(lock);
    // For a connection that was started; nothing is done for one that stands no more. No message is handed on
    // any more. Waits for the server's answer and the close handler's return; within a handler, of whichever
    // connection, it only begins, as either might wait for that handler. Throws what the library throws.
    void Close() EXCLUDES(lock);
    // For a connection that was started: it counts as closed now, the network isn't waited for. Waits for the
    // close handler's return, not within a handler.
    void Drop() EXCLUDES(lock);

  private:
    struct Library;
    enum class Phase { Connecting, Open, Closing, Closed };

    explicit WebSocketConnection(Handlers handlers);
    ~WebSocketConnection();

    void OnLibraryMessage(const web::websockets::client::websocket_incoming_message& message);
    void OnLibraryClose(int32_t status, const std::string& reason, int32_t error);
    bool MayDeliver() EXCLUDES(lock);
    // From `from` to `to`; false, and nothing done, in any other phase.
    bool Enter(Phase from, Phase to) EXCLUDES(lock);
    // True if it stood until now: then the close is to be told.
    bool End() EXCLUDES(lock);
    void TellClose(int32_t status, const std::string& reason, int32_t error) EXCLUDES(lock);
    void CallCloseHandler(int32_t status, const std::string& reason, int32_t error) EXCLUDES(lock);
    void WaitUntilTold() EXCLUDES(lock);

    const Handlers handlers;
    std::unique_ptr<Library> library;
    bool opened = false;  // Open has succeeded; for its thread and, behind the last release, the reaper's
    Mutex lock;           // a leaf
    ConditionVariable changed;
    Phase phase GUARDED_BY(lock) = Phase::Connecting;
    bool telling GUARDED_BY(lock) = false;  // the close handler is called, or has been
    bool told GUARDED_BY(lock) = false;     // it has returned, or never will be called
};

}  // namespace orrery
