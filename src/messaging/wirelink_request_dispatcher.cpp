#include "messaging/wirelink_request_dispatcher.h"

#include <stdexcept>

#include "foundation/settings/config_helper.h"
#include "foundation/text/url_text.h"
#include "foundation/trace.h"
#include "messaging/authorization.h"
#include "messaging/certificate_trustworthiness_config.h"
#include "messaging/message_file.h"
#include "messaging/message_records.h"
#include "messaging/proxy_config.h"
#include "messaging/proxy_settings_json.h"
#include "messaging/request_body.h"
#include "messaging/web_api_request.h"
#include "messaging/web_api_response.h"
#include "platform/clock.h"
#include "platform/error_codes.h"

namespace orrery {

namespace {

// All zero if the clock can't be shown.
CalendarTime ServerTimeNow() {
    CalendarTime time;
    platform::CalendarOf(
        platform::SystemTicks() + WirelinkRequestDispatcher::serverClockOffset * platform::ticksPerSecond,
        time);
    return time;
}

}  // namespace

// One connection, from its making to its end, with what it was given and what it gave.
class WirelinkRequestDispatcher::Exchange {
  public:
    Exchange(IWirelink& wirelink, IRequest& request)
        : wirelink(wirelink), request(request), url(request.GetUrl()) {}
    ~Exchange() {
        if (proxyUsed) wirelink.ReleaseProxySetting(proxyUsed);
        if (connection) wirelink.DestroyConnection(connection);
        if (replyIsReady) wirelink.FreeResponse(&reply);
    }
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    // False if the transport makes no connection.
    bool Open(ConfigUtil& store) {
        connection =
            wirelink.CreateConnection(request.GetUserAgent().c_str(), url.c_str(), request.GetVerb().c_str(),
                                      request.GetFlags() | ConnectionNoRedirects | ConnectionNoCookies);
        if (connection) Prepare(store);
        return connection != nullptr;
    }

    // After the send: what the transport added, and which way it went.
    void NoteWhatWasSent() {
        WideString sent;
        if (connection->GetSentHeaders(sent)) request.AddHeaderText(sent);
        proxyUsed = wirelink.NewProxySetting();
        proxyIsKnown = proxyUsed && connection->GetProxyUsed(proxyUsed);
    }
    const IProxySetting* ProxyUsed() const { return proxyIsKnown ? proxyUsed : nullptr; }

    void InitReply() {
        wirelink.InitResponse(&reply);
        replyIsReady = true;
    }

    IWirelink& wirelink;
    IRequest& request;
    const WideString url;
    IConnection* connection = nullptr;
    TransportResponse reply;

  private:
    void Prepare(ConfigUtil& store) {
        HeaderMap headers;
        request.GetHeaders(headers);
        for (const auto& [name, value] : headers) connection->AddHeader(name.c_str(), value.c_str());
        CProxyConfig proxies(&store, &wirelink);
        if (proxies.IsValid()) proxies.AttachToConnection(connection);
        trust = std::make_shared<CCertificateTrustworthinessConfig>(&wirelink, &store);
        if (trust->IsValid()) trust->ApplyToConnection(connection);
    }

    std::shared_ptr<CCertificateTrustworthinessConfig> trust;
    IProxySetting* proxyUsed = nullptr;
    bool proxyIsKnown = false;
    bool replyIsReady = false;
};

WirelinkRequestDispatcher::WirelinkRequestDispatcher(ConfigUtil* util, bool logMessages)
    : configUtil(ConfigUtilOrThrow(util, "ConfigUtil")), logMessages(logMessages), wirelink(transport.Get()) {
    if (!wirelink) throw std::logic_error("Cannot Initialize Wirelink");
}

uint32_t WirelinkRequestDispatcher::Send(IRequest& request, uint32_t reserved, IRequestResponse& response,
                                         ProxyRecord* proxyUsed) {
    Exchange exchange(*wirelink, request);
    uint32_t result = exchange.Open(*configUtil) ? Success : InvalidData;
    if (result != Success || !SendSigned(exchange, reserved, result)) {
        Trace::Error("a request can't be made", WithoutUser(exchange.url), result);
        return result;
    }
    exchange.NoteWhatWasSent();
    if (proxyUsed && exchange.ProxyUsed()) *proxyUsed = RecordOf(*exchange.ProxyUsed());
    if (logMessages) WriteRequestRecord(request, exchange.url, result, nullptr, exchange.ProxyUsed());
    exchange.InitReply();
    if (result == Success) result = Receive(exchange, response);
    if (logMessages) WriteResponseRecord(exchange.reply, result);
    if (result != Success) Trace::Error("a request failed", WithoutUser(exchange.url), result);
    return result;
}

// False if there was nothing to send, or no right to.
bool WirelinkRequestDispatcher::SendSigned(Exchange& exchange, uint32_t reserved, uint32_t& result) const {
    const CalendarTime timestamp = ServerTimeNow();
    const IRequestBody* body = exchange.request.GetBody();
    AuthorizationInfo authorization;
    if (!body) {
        result = InvalidParameter;
    } else if (!LoadAuthorization(configUtil, authorization, u"Communications", &timestamp, true)) {
        result = BadConfiguration;
    }
    if (result != Success) return false;
    WideString contentType;
    body->GetContentType(contentType);
    result = exchange.connection->SendSigned(contentType.c_str(), body->GetData(false), body->GetSize(false),
                                             reserved, &authorization);
    return true;
}

uint32_t WirelinkRequestDispatcher::Receive(Exchange& exchange, IRequestResponse& response) {
    TransportResponse& reply = exchange.reply;
    const uint32_t result = exchange.connection->Receive(&reply);
    if (result != Success) return result;
    LearnClockOffset(reply.date);
    response.SetResult(reply.date, reply.status, reply.content, reply.contentSize);
    if (reply.headers) response.SetHeaderText(reply.headers);
    return Success;
}

void WirelinkRequestDispatcher::LearnClockOffset(const CalendarTime& date) {
    int64_t ticks = 0;
    if (!platform::SystemTicksOf(date, ticks)) return;
    serverClockOffset = (ticks - platform::SystemTicks()) / platform::ticksPerSecond;
}

uint32_t WirelinkRequestDispatcher::Download(IRequest& request, const WideString& path,
                                             IRequestResponse& response) {
    Exchange exchange(*wirelink, request);
    if (!exchange.Open(*configUtil)) {
        Trace::Error("a request can't be made", WithoutUser(exchange.url));
        return InvalidData;
    }
    uint32_t status = 0;
    uint32_t result = exchange.connection->Download(path, status);
    const bool isThere = result == Success || result == Continue;
    if (!isThere) Trace::Error("a download failed", WithoutUser(exchange.url), path, status, result);
    exchange.NoteWhatWasSent();
    exchange.InitReply();
    if (isThere) {
        const uint32_t received = exchange.connection->Receive(&exchange.reply);
        if (received != Success) {
            Trace::Error("the reply to a download can't be read", WithoutUser(exchange.url), received);
            result = received;
        } else if (exchange.reply.headers) {
            response.SetHeaderText(exchange.reply.headers);
        }
    }
    response.SetResult(exchange.reply.date, status, nullptr, 0);
    if (logMessages) WriteRequestRecord(request, exchange.url, result, &status, exchange.ProxyUsed());
    return result;
}

void WirelinkRequestDispatcher::WriteRequestRecord(IRequest& request, const WideString& url, uint32_t result,
                                                   const uint32_t* status, const IProxySetting* proxy) {
    const CalendarTime now = platform::LocalTime();
    logFile = MessageFilePath(request.GetName(), now);
    WriteMessageFile(logFile, RequestRecord(request, url, result, status, proxy, now));
}

void WirelinkRequestDispatcher::WriteResponseRecord(const TransportResponse& reply, uint32_t result) {
    AppendToMessageFile(logFile, ResponseRecord(reply, result, platform::LocalTime()));
}

}  // namespace orrery
