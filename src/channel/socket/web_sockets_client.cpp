#include "channel/socket/web_sockets_client.h"

#include <cpprest/ws_client.h>
#include <pplx/threadpool.h>

#include <exception>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "channel/socket/proxy_candidates.h"
#include "foundation/settings/config_helper.h"
#include "foundation/settings/registration.h"
#include "foundation/text/numbers.h"
#include "foundation/text/time_text.h"
#include "foundation/text/url_text.h"
#include "foundation/trace.h"
#include "messaging/message_file.h"
#include "platform/clock.h"
#include "platform/text.h"

namespace orrery {

namespace ws = web::websockets::client;

namespace {

// The library's pool has 40 threads unless it is told otherwise before its first use; it serves close
// handlers and continuations only.
constexpr size_t poolThreads = 2;

void LimitLibraryPool() {
    static std::once_flag once;
    std::call_once(once, [] {
        try {
            crossplat::threadpool::initialize_with_threads(poolThreads);
        } catch (const std::exception& failure) {
            Trace::Warning("the library's pool exists already", failure.what());
        }
    });
}

WideString StateText(int32_t state) {
    switch (state) {
        case ChannelClosed:
            return u"Closed";
        case ChannelConnected:
            return u"Connected";
        default:
            return u"Unknown code: " + DecimalText(int64_t{state});
    }
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

// What the library's callbacks of one connection share. The handlers are in place before the library
// connects, so that no early message is lost; what happens to a connection that never came to stand stays in
// here.
class WebSocketsClient::Attempt {
  public:
    explicit Attempt(std::shared_ptr<Cell> cell) : cell(std::move(cell)) {}

    // The connection stands. False if it was closed already.
    bool Accept() EXCLUDES(lock) {
        MutexLock hold(lock);
        accepted = !closed;
        return accepted;
    }

    // True if the owner is to hear of the close.
    bool NoteClosed() EXCLUDES(lock) {
        MutexLock hold(lock);
        closed = true;
        return accepted;
    }

    // The owner has another connection, or none: a late close is not its business any more.
    void Disown() EXCLUDES(lock) {
        MutexLock hold(lock);
        accepted = false;
    }

    void Mute() { muted = true; }
    bool IsMuted() const { return muted; }

    const std::shared_ptr<Cell> cell;

  private:
    Mutex lock;
    bool accepted GUARDED_BY(lock) = false;
    bool closed GUARDED_BY(lock) = false;
    std::atomic<bool> muted{false};  // no message is handed on any more
};

// One library client and what its callbacks share. One object for one attempt: the library dies of a second
// connect, and of being destroyed on its own callbacks.
class WebSocketsClient::LibraryClient {
  public:
    LibraryClient(const ws::websocket_client_config& configuration, std::shared_ptr<Attempt> attempt)
        : client(configuration), attempt(std::move(attempt)) {}

    ws::websocket_callback_client client;
    const std::shared_ptr<Attempt> attempt;
};

// The library's handlers. An exception that left one would end the process.
struct WebSocketsMessageHandler {
    std::shared_ptr<WebSocketsClient::Attempt> attempt;

    void operator()(const ws::websocket_incoming_message& message) const {
        try {
            Deliver(message);
        } catch (const std::exception& failure) {
            Trace::Error("handling a frame failed", failure.what());
        } catch (...) {
            Trace::Error("handling a frame failed");
        }
    }

    void Deliver(const ws::websocket_incoming_message& message) const {
        if (attempt->IsMuted()) return;
        if (message.message_type() != ws::websocket_message_type::text_message) {
            Trace::Warning("a frame that isn't text was dropped", static_cast<int>(message.message_type()));
            return;
        }
        WideString text;
        if (!Utf8ToWide(message.extract_string().get(), text)) Trace::Error("a frame can't be converted");
        attempt->cell->Enter([&text](WebSocketsClient& client) { client.OnMessage(text); });
        // Entered anew: the message's handler may have destroyed the client.
        if (!IsTestMode()) return;
        attempt->cell->Enter(
            [&text](const WebSocketsClient& client) { client.LogTraffic(text, u"Realtime_Get"); });
    }
};

struct WebSocketsCloseHandler {
    std::shared_ptr<WebSocketsClient::Attempt> attempt;

    void operator()(ws::websocket_close_status status, const std::string& reason,
                    const std::error_code& error) const {
        if (!attempt->NoteClosed()) return;
        try {
            attempt->cell->Enter([&](WebSocketsClient& client) {
                client.OnClose(static_cast<int32_t>(status), reason, error.value());
            });
        } catch (const std::exception& failure) {
            Trace::Error("handling a close failed", failure.what());
        } catch (...) {
            Trace::Error("handling a close failed");
        }
    }
};

WebSocketsClient::WebSocketsClient(WideString serverUri, IProxyList* proxyList)
    : uri(std::move(serverUri)),
      proxyList(proxyList),
      selfCell(std::make_shared<Cell>(this)),
      configUtil(ConfigUtilOrThrow(nullptr, "configUtil")) {
    if (uri.empty()) throw std::invalid_argument("Uri cannot be empty");
    LimitLibraryPool();
    GetConfig();
}

WebSocketsClient::~WebSocketsClient() {
    selfCell->Clear();
    CleanupConnection();
}

void WebSocketsClient::GetConfig() {
    WideString value;
    const bool read = configUtil->ReadValue(u"Realtime.Client.ValidateCertificates", value, 0) == 0;
    validateCertificates = read && value != u"0";
}

bool WebSocketsClient::Connect() {
    CleanupConnection();
    return SetupConnection();
}

bool WebSocketsClient::SetupConnection() {
    if (uri.empty()) return false;
    std::vector<ProxyCandidate> candidates;
    try {
        const web::uri parsed(ToUtf8(uri));
        ProxyCandidateCollector(uri, proxyList).CollectProxyCandidates(candidates);
    } catch (const std::exception& failure) {
        Trace::Error("the server's address was refused", WithoutUser(uri), failure.what());
        return false;
    }
    MutexLock hold(clientLock);
    for (const ProxyCandidate& candidate : candidates) {
        if (TryConnection(candidate)) return true;
    }
    return false;
}

bool WebSocketsClient::TryConnection(const ProxyCandidate& candidate) {
    bool connected = false;
    try {
        const auto attempt = std::make_shared<Attempt>(selfCell);
        auto fresh = std::make_unique<LibraryClient>(Configuration(candidate, validateCertificates), attempt);
        fresh->client.set_close_handler(WebSocketsCloseHandler{attempt});
        fresh->client.set_message_handler(WebSocketsMessageHandler{attempt});
        if (fresh->client.connect(web::uri(ToUtf8(uri))).wait() != pplx::completed) return false;
        state = ChannelConnected;
        if (!attempt->Accept()) {
            state = ChannelClosed;
            return false;
        }
        client = std::move(fresh);
        connected = true;
        OnConnect();
    } catch (const ws::websocket_exception& failure) {
        Trace::Error("an attempt failed", WithoutUser(ToWide(candidate.address)), failure.what(),
                     failure.error_code().value());
    } catch (const std::exception& failure) {
        Trace::Error("an attempt failed", WithoutUser(ToWide(candidate.address)), failure.what());
    } catch (...) {
        Trace::Error("an attempt failed", WithoutUser(ToWide(candidate.address)));
    }
    return connected;
}

void WebSocketsClient::OnConnect() {
    connectHandler.Call();
}

bool WebSocketsClient::Send(const WideString& text) {
    bool sent = false;
    try {
        ws::websocket_outgoing_message message;
        message.set_utf8_message(ToUtf8(text));
        MutexLock hold(clientLock);
        if (!client || state != ChannelConnected) return false;
        client->client.send(message).wait();
        sent = true;
        if (IsTestMode()) LogTraffic(text, u"Realtime_Send");
    } catch (const std::exception& failure) {
        Trace::Error("sending a frame failed", failure.what());
    } catch (...) {
        Trace::Error("sending a frame failed");
    }
    return sent;
}

void WebSocketsClient::Close() {
    // A close handler that comes back here has nothing left to close, and must not wait for a Close that
    // itself waits for the handler's return.
    if (state == ChannelClosed && selfCell->CallerIsInside()) return;
    MutexLock hold(clientLock);
    if (!client) {
        state = ChannelClosed;
        return;
    }
    if (state == ChannelClosed) return;
    client->attempt->Mute();
    try {
        const auto closing = client->client.close(ws::websocket_close_status::normal, {});
        // On a callback of its own the library would wait for itself: there the close event tells the end.
        if (selfCell->CallerIsInside()) {
            closing.then(ObserveEnd);
        } else {
            closing.then([this] { state = ChannelClosed; }).wait();
        }
    } catch (const std::exception& failure) {
        Trace::Error("closing failed", failure.what());
    } catch (...) {
        Trace::Error("closing failed");
    }
}

void WebSocketsClient::OnMessage(const WideString& text) {
    messageHandler.Call(text);
}

void WebSocketsClient::OnClose(int32_t status, const std::string& reason, int32_t errorCode) {
    state = ChannelClosed;
    if (status == static_cast<int32_t>(ws::websocket_close_status::normal)) {
        Trace::Warning("closed", status, reason, errorCode);
    } else {
        Trace::Error("closed", status, reason, errorCode);
    }
    closeHandler.Call();
}

// Short texts, the keep-alive frame above all, would bury the others.
void WebSocketsClient::LogTraffic(const WideString& text, const WideString& name) const {
    if (text.size() <= 2) return;
    const CalendarTime now = platform::LocalTime();
    WideString record;
    AppendLine(record, u"[REQUEST]");
    AppendLine(record, u"Time=", DateTimeText(now, ' '));
    AppendLine(record, u"URL=", uri);
    AppendLine(record, u"Body=", text);
    AppendLine(record, u"State=", StateText(state));
    WriteMessageFile(MessageFilePath(name, now), record);
}

void WebSocketsClient::CleanupConnection() {
    MutexLock hold(clientLock);
    if (!client) return;
    client->attempt->Disown();
    // On a callback of its own the library's client would wait for itself. The thread ends when the library
    // has closed, which takes it 10 seconds at most.
    if (selfCell->CallerIsInside()) {
        std::thread([gone = std::move(client)]() mutable { gone.reset(); }).detach();
    }
    client.reset();
}

}  // namespace orrery
