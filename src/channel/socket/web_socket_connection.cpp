#include "channel/socket/web_socket_connection.h"

#include <cpprest/ws_client.h>
#include <pplx/threadpool.h>

#include <exception>
#include <mutex>
#include <utility>

#include "channel/socket/connection_reaper.h"
#include "channel/socket/proxy_candidates.h"
#include "foundation/trace.h"

namespace orrery {

namespace ws = web::websockets::client;

namespace {

// The library's pool has 40 threads unless it is told otherwise before its first use. It serves the library
// alone: no handler of ours runs on it, so that none can keep it from its work.
constexpr size_t poolThreads = 2;

// How many handlers are running on this thread.
thread_local int handlersInside = 0;

struct EndAtExit {
    ConnectionReaper& reaper;
    ~EndAtExit() { reaper.End(); }
};

// Behind the pool, so that at the end of the process the reaper has ended before the pool does. The object
// itself stays: a thread of the pool may let go of a connection even then.
ConnectionReaper& Reaper() {
    static std::once_flag once;
    std::call_once(once, [] {
        try {
            crossplat::threadpool::initialize_with_threads(poolThreads);
        } catch (const std::exception& failure) {
            Trace::Warning("the library's pool exists already", failure.what());
        }
    });
    static ConnectionReaper& reaper = *new ConnectionReaper;
    static const EndAtExit end{reaper};
    return reaper;
}

// An exception that left a handler would end the process.
template <class Handler, class... Arguments>
void CallHandler(const Handler& handler, const Arguments&... arguments) {
    ++handlersInside;
    try {
        handler(arguments...);
    } catch (const std::exception& failure) {
        Trace::Error("a handler failed", failure.what());
    } catch (...) {
        Trace::Error("a handler failed");
    }
    --handlersInside;
}

// A task that fails and that nobody looks at ends the process.
void ObserveEnd(const pplx::task<void>& task) {
    try {
        task.wait();
    } catch (const std::exception& failure) {
        Trace::Error("closing failed", failure.what());
    }
}

ws::websocket_client_config Configuration(const ProxyCandidate& candidate, bool validateCertificates) {
    web::web_proxy proxy;
    if (!candidate.IsDirect()) proxy = web::web_proxy(web::uri(candidate.address));
    if (!candidate.username.empty()) proxy.set_credentials({candidate.username, candidate.password});
    ws::websocket_client_config configuration;
    configuration.set_proxy(proxy);
    if (!candidate.IsDirect()) configuration.headers().add("x-zelko-viaproxy", "yes");
    configuration.set_validate_certificates(validateCertificates);
    return configuration;
}

}  // namespace

struct WebSocketConnection::Library {
    explicit Library(const ws::websocket_client_config& configuration) : client(configuration) {}
    ws::websocket_callback_client client;
};

// The handlers are in place before the library connects: set behind it they would miss the first messages.
std::shared_ptr<WebSocketConnection> WebSocketConnection::Make(const ProxyCandidate& candidate,
                                                               bool validateCertificates, Handlers handlers) {
    ConnectionReaper& reaper = Reaper();
    const std::shared_ptr<WebSocketConnection> made(
        new WebSocketConnection(std::move(handlers)),
        [&reaper](WebSocketConnection* gone) { reaper.Give([gone] { delete gone; }); });
    made->library = std::make_unique<Library>(Configuration(candidate, validateCertificates));
    WebSocketConnection* const self = made.get();  // outlives the library's client
    self->library->client.set_close_handler(
        [self](ws::websocket_close_status status, const std::string& reason, const std::error_code& error) {
            self->OnLibraryClose(static_cast<int32_t>(status), reason, error.value());
        });
    self->library->client.set_message_handler(
        [self](const ws::websocket_incoming_message& message) { self->OnLibraryMessage(message); });
    return made;
}

WebSocketConnection::WebSocketConnection(Handlers handlers) : handlers(std::move(handlers)) {}

// On the reaper's thread. A task of the library's may hold its client for a moment longer than we do, on a
// thread of the pool, which must then find nothing left to wait for. An attempt that failed has no such task,
// and closing it would wait for ever.
WebSocketConnection::~WebSocketConnection() {
    End();
    if (opened) ObserveEnd(library->client.close(ws::websocket_close_status::normal, {}));
    library.reset();
}

bool WebSocketConnection::Open(const std::string& uri) {
    try {
        opened = library->client.connect(web::uri(uri)).wait() == pplx::completed;
    } catch (const ws::websocket_exception& failure) {
        throw WebSocketFailure(failure.what(), failure.error_code().value());
    }
    return opened;
}

bool WebSocketConnection::Start() {
    const Trace::Scope trace("WebSocketConnection::Start");
    return Enter(Phase::Connecting, Phase::Open);
}

bool WebSocketConnection::Stands() {
    MutexLock hold(lock);
    return phase == Phase::Open || phase == Phase::Closing;
}

bool WebSocketConnection::Send(const std::string& utf8) {
    const Trace::Scope trace("WebSocketConnection::Send");
    if (!Enter(Phase::Open, Phase::Open)) return false;
    ws::websocket_outgoing_message message;
    message.set_utf8_message(utf8);
    library->client.send(message).wait();
    return true;
}

void WebSocketConnection::Close() {
    const Trace::Scope trace("WebSocketConnection::Close");
    if (!Stands()) return;
    if (Enter(Phase::Open, Phase::Closing)) {
        const auto closing = library->client.close(ws::websocket_close_status::normal, {});
        if (handlersInside > 0) {
            closing.then(ObserveEnd);
        } else {
            closing.wait();
        }
    }
    WaitUntilTold();
}

void WebSocketConnection::Drop() {
    if (End()) TellClose(static_cast<int32_t>(ws::websocket_close_status::normal), "dropped", 0);
    WaitUntilTold();
}

void WebSocketConnection::OnLibraryMessage(const ws::websocket_incoming_message& message) {
    if (!MayDeliver()) return;
    if (message.message_type() != ws::websocket_message_type::text_message) {
        Trace::Warning("a frame that isn't text was dropped", static_cast<int>(message.message_type()));
        return;
    }
    // Read where it lies: the library's other way copies it and makes a task for that.
    CallHandler([&] {
        auto body = message.body().streambuf();
        uint8_t* bytes = nullptr;
        size_t size = 0;
        if (!body.acquire(bytes, size)) throw std::runtime_error("a frame can't be read");
        handlers.message({reinterpret_cast<const char*>(bytes), size});
        body.release(bytes, size);
    });
}

// A message can come before Open has returned to the thread that connects. It waits, with all behind it,
// until that thread has started the connection or given it up.
bool WebSocketConnection::MayDeliver() {
    MutexLock hold(lock);
    while (phase == Phase::Connecting) changed.wait(lock);
    return phase == Phase::Open;
}

void WebSocketConnection::OnLibraryClose(int32_t status, const std::string& reason, int32_t error) {
    if (End()) TellClose(status, reason, error);
}

bool WebSocketConnection::Enter(Phase from, Phase to) {
    MutexLock hold(lock);
    if (phase != from) return false;
    phase = to;
    changed.notify_all();
    return true;
}

bool WebSocketConnection::End() {
    MutexLock hold(lock);
    const Phase before = std::exchange(phase, Phase::Closed);
    if (before == Phase::Connecting) told = true;
    changed.notify_all();
    return before == Phase::Open || before == Phase::Closing;
}

void WebSocketConnection::TellClose(int32_t status, const std::string& reason, int32_t error) {
    const auto self = weak_from_this().lock();
    if (!self) return;  // nobody holds it any more, so nobody listens
    const auto tell = [self, status, reason, error] { self->CallCloseHandler(status, reason, error); };
    if (!Reaper().Give(tell)) tell();
}

void WebSocketConnection::CallCloseHandler(int32_t status, const std::string& reason, int32_t error) {
    {
        MutexLock hold(lock);
        if (std::exchange(telling, true)) return;
    }
    CallHandler(handlers.close, status, reason, error);
    MutexLock hold(lock);
    told = true;
    changed.notify_all();
}

// Within a handler it would wait for itself, or for one that waits for it.
void WebSocketConnection::WaitUntilTold() {
    if (handlersInside > 0) return;
    MutexLock hold(lock);
    while (!told) changed.wait(lock);
}

}  // namespace orrery
