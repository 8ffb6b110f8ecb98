#include "channel/socket/web_sockets_client.h"

#include <cpprest/uri.h>

#include <exception>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "channel/socket/proxy_candidates.h"
#include "channel/socket/web_socket_connection.h"
#include "foundation/settings/config_helper.h"
#include "foundation/settings/registration.h"
#include "foundation/text/time_text.h"
#include "foundation/text/url_text.h"
#include "foundation/trace.h"
#include "messaging/message_file.h"
#include "platform/clock.h"
#include "platform/text.h"

namespace orrery {

namespace {

constexpr int32_t normalClosure = 1000;  // RFC 6455, section 7.4.1

}  // namespace

// What a connection calls; the cell tells whether the client is still there.
struct WebSocketsMessageHandler {
    std::shared_ptr<WebSocketsClient::Cell> client;

    void operator()(std::string_view utf8) const {
        WideString text;
        if (!Utf8ToWide(utf8, text)) Trace::Error("a frame can't be converted");
        client->Enter([&text](WebSocketsClient& sockets) { sockets.OnMessage(text); });
        // Entered anew: the message's handler may have destroyed the client.
        if (!IsTestMode()) return;
        client->Enter([&text](WebSocketsClient& sockets) { sockets.LogTraffic(text, u"Realtime_Get"); });
    }
};

struct WebSocketsCloseHandler {
    std::shared_ptr<WebSocketsClient::Cell> client;

    void operator()(int32_t status, const std::string& reason, int32_t error) const {
        client->Enter([&](WebSocketsClient& sockets) { sockets.OnClose(status, reason, error); });
    }
};

WebSocketsClient::WebSocketsClient(WideString serverUri, IProxyList* proxyList)
    : uri(std::move(serverUri)),
      proxyList(proxyList),
      selfCell(std::make_shared<Cell>(this)),
      configUtil(ConfigUtilOrThrow(nullptr, "configUtil")) {
    if (uri.empty()) throw std::invalid_argument("Uri cannot be empty");
    GetConfig();
}

WebSocketsClient::~WebSocketsClient() {
    selfCell->Clear();
    Exchange(nullptr);
}

void WebSocketsClient::GetConfig() {
    const Trace::Scope trace("WebSocketsClient::GetConfig");
    WideString value;
    const bool read = configUtil->ReadValue(u"Realtime.Client.ValidateCertificates", value, 0) == 0;
    validateCertificates = read && value != u"0";
}

bool WebSocketsClient::Connect() {
    const Trace::Scope trace("WebSocketsClient::Connect");
    CleanupConnection();
    return SetupConnection();
}

bool WebSocketsClient::SetupConnection() {
    const Trace::Scope trace("WebSocketsClient::SetupConnection");
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
    const Trace::Scope trace("WebSocketsClient::TryConnection");
    bool connected = false;
    try {
        const auto fresh =
            WebSocketConnection::Make(candidate, validateCertificates,
                                      {WebSocketsMessageHandler{selfCell}, WebSocketsCloseHandler{selfCell}});
        if (!fresh->Open(ToUtf8(uri))) return false;
        // The state is that of the connection from its first message on.
        Exchange(fresh);
        connected = fresh->Start();
        if (connected) OnConnect();
    } catch (const WebSocketFailure& failure) {
        Trace::Error("an attempt failed", WithoutUser(ToWide(candidate.address)), failure.what(),
                     failure.code);
    } catch (const std::exception& failure) {
        Trace::Error("an attempt failed", WithoutUser(ToWide(candidate.address)), failure.what());
    } catch (...) {
        Trace::Error("an attempt failed", WithoutUser(ToWide(candidate.address)));
    }
    return connected;
}

void WebSocketsClient::OnConnect() {
    const Trace::Scope trace("WebSocketsClient::OnConnect");
    connectHandler.Call();
}

bool WebSocketsClient::Send(const WideString& text) {
    const Trace::Scope trace("WebSocketsClient::Send");
    bool sent = false;
    try {
        const std::string utf8 = ToUtf8(text);
        MutexLock hold(clientLock);
        const auto connection = Current();
        sent = connection && connection->Send(utf8);
        if (sent && IsTestMode()) LogTraffic(text, u"Realtime_Send");
    } catch (const std::exception& failure) {
        Trace::Error("sending a frame failed", failure.what());
    } catch (...) {
        Trace::Error("sending a frame failed");
    }
    return sent;
}

void WebSocketsClient::Close() {
    const Trace::Scope trace("WebSocketsClient::Close");
    std::shared_ptr<WebSocketConnection> connection;
    {
        MutexLock hold(clientLock);  // waits for a pass or a send, and isn't held over the close
        connection = Current();
    }
    try {
        if (connection) connection->Close();
    } catch (const std::exception& failure) {
        Trace::Error("closing failed", failure.what());
    } catch (...) {
        Trace::Error("closing failed");
    }
}

void WebSocketsClient::OnMessage(const WideString& text) {
    const Trace::Scope trace("WebSocketsClient::OnMessage");
    messageHandler.Call(text);
}

void WebSocketsClient::OnClose(int32_t status, const std::string& reason, int32_t errorCode) {
    const Trace::Scope trace("WebSocketsClient::OnClose");
    if (status == normalClosure) {
        Trace::Warning("closed", status, reason, errorCode);
    } else {
        Trace::Error("closed", status, reason, errorCode);
    }
    closeHandler.Call();
}

// Short texts, the keep-alive frame above all, would bury the others.
void WebSocketsClient::LogTraffic(const WideString& text, const WideString& name) {
    const Trace::Scope trace("WebSocketsClient::LogTraffic");
    if (text.size() <= 2) return;
    const CalendarTime now = platform::LocalTime();
    WideString record;
    AppendLine(record, u"[REQUEST]");
    AppendLine(record, u"Time=", DateTimeText(now, ' '));
    AppendLine(record, u"URL=", uri);
    AppendLine(record, u"Body=", text);
    AppendLine(record, u"State=", GetState() == ChannelConnected ? u"Connected" : u"Closed");
    WriteMessageFile(MessageFilePath(name, now), record);
}

// An earlier connection is over before the next attempt begins, its close told.
void WebSocketsClient::CleanupConnection() {
    const Trace::Scope trace("WebSocketsClient::CleanupConnection");
    std::shared_ptr<WebSocketConnection> dropped;
    {
        MutexLock hold(clientLock);
        dropped = Exchange(nullptr);
    }
    if (dropped) dropped->Drop();
}

int32_t WebSocketsClient::GetState() {
    const auto connection = Current();
    return connection && connection->Stands() ? ChannelConnected : ChannelClosed;
}

std::shared_ptr<WebSocketConnection> WebSocketsClient::Current() {
    MutexLock hold(currentLock);
    return client;
}

std::shared_ptr<WebSocketConnection> WebSocketsClient::Exchange(std::shared_ptr<WebSocketConnection> next) {
    MutexLock hold(currentLock);
    client.swap(next);
    return next;
}

}  // namespace orrery
