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

// The way that a connection went, in an entry of the transport's.
class UsedProxy {
  public:
    UsedProxy(IWirelink& wirelink, IConnection& connection)
        : wirelink(wirelink), entry(wirelink.NewProxySetting()) {
        isKnown = entry && connection.GetProxyUsed(entry);
    }
    ~UsedProxy() {
        if (entry) wirelink.ReleaseProxySetting(entry);
    }
    UsedProxy(const UsedProxy&) = delete;
    UsedProxy& operator=(const UsedProxy&) = delete;

    // Null if the connection doesn't tell.
    const IProxySetting* Get() const { return isKnown ? entry : nullptr; }

  private:
    IWirelink& wirelink;
    IProxySetting* const entry;
    bool isKnown = false;
};

}  // namespace

// One connection with what it was given and the reply, until both go back to the transport.
class WirelinkRequestDispatcher::Exchange {
  public:
    Exchange(IWirelink& wirelink, IRequest& request)
        : request(request), url(request.GetUrl()), wirelink(wirelink) {}
    ~Exchange() {
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

    // The transport adds headers of its own, which belong into the record.
    void NoteSentHeaders() const {
        WideString sent;
        if (connection->GetSentHeaders(sent)) request.AddHeaderText(sent);
    }

    void InitReply() {
        wirelink.InitResponse(&reply);
        replyIsReady = true;
    }

    IRequest& request;
    const WideString url;
    IConnection* connection = nullptr;
    TransportResponse reply;

  private:
    void Prepare(ConfigUtil& store) {
        HeaderMap headers;
        request.GetHeaders(headers);
        for (const auto& [name, value] : headers) connection->AddHeader(name.c_str(), value.c_str());
        if (CProxyConfig proxies(&store, &wirelink); proxies.IsValid())
            proxies.AttachToConnection(connection);
        trust = std::make_shared<CCertificateTrustworthinessConfig>(&wirelink, &store);
        if (trust->IsValid()) trust->ApplyToConnection(connection);
    }

    IWirelink& wirelink;
    std::shared_ptr<CCertificateTrustworthinessConfig> trust;  // outlives the connection
    bool replyIsReady = false;
};

WirelinkRequestDispatcher::WirelinkRequestDispatcher(ConfigUtil* util, bool logMessages)
    : configUtil(ConfigUtilOrThrow(util, "ConfigUtil")), logMessages(logMessages), wirelink(transport.Get()) {
    if (!wirelink) throw std::logic_error("Cannot Initialize Wirelink");
}

uint32_t WirelinkRequestDispatcher::Send(IRequest& request, uint32_t reserved, IRequestResponse& response,
                                         ProxyRecord* proxyUsed) {
    const Trace::Scope trace("WirelinkRequestDispatcher::Send");
    Exchange exchange(*wirelink, request);
    const uint32_t result = exchange.Open(*configUtil) ? SendOver(exchange, reserved, response, proxyUsed)
                                                       : uint32_t{InvalidData};
    if (result != Success) Trace::Error("a request failed", WithoutUser(exchange.url), result);
    return result;
}

uint32_t WirelinkRequestDispatcher::SendOver(Exchange& exchange, uint32_t reserved,
                                             IRequestResponse& response, ProxyRecord* proxyUsed) {
    const CalendarTime timestamp = ServerTimeNow();
    const IRequestBody* body = exchange.request.GetBody();
    if (!body) return InvalidParameter;
    AuthorizationInfo authorization;
    if (!LoadAuthorization(configUtil, authorization, u"Communications", &timestamp, true))
        return BadConfiguration;
    WideString contentType;
    body->GetContentType(contentType);
    uint32_t result = exchange.connection->SendSigned(contentType.c_str(), body->GetData(false),
                                                      body->GetSize(false), reserved, &authorization);
    exchange.NoteSentHeaders();
    NoteProxyUsed(exchange, result, proxyUsed);
    exchange.InitReply();
    if (result == Success) result = Receive(exchange, response);
    if (logMessages) WriteResponseRecord(exchange.reply, result);
    return result;
}

void WirelinkRequestDispatcher::NoteProxyUsed(Exchange& exchange, uint32_t result, ProxyRecord* proxyUsed) {
    const UsedProxy used(*wirelink, *exchange.connection);
    if (proxyUsed && used.Get()) *proxyUsed = RecordOf(*used.Get());
    if (logMessages) WriteRequestRecord(exchange.request, exchange.url, result, nullptr, used.Get());
}

uint32_t WirelinkRequestDispatcher::Receive(Exchange& exchange, IRequestResponse& response) {
    const Trace::Scope trace("WirelinkRequestDispatcher::Receive");
    const uint32_t result = exchange.connection->Receive(&exchange.reply);
    if (result != Success) return result;
    const TransportResponse& reply = exchange.reply;
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
    const Trace::Scope trace("WirelinkRequestDispatcher::Download");
    Exchange exchange(*wirelink, request);
    if (!exchange.Open(*configUtil)) {
        Trace::Error("a download has no connection", WithoutUser(exchange.url));
        return InvalidData;
    }
    uint32_t status = 0;
    uint32_t result = exchange.connection->Download(path, status);
    const bool isThere = result == Success || result == Continue;
    if (!isThere) Trace::Error("a download failed", WithoutUser(exchange.url), path, status, result);
    exchange.NoteSentHeaders();
    exchange.InitReply();
    if (isThere) {
        const uint32_t failure = ReceiveHeaders(exchange, response);
        if (failure != Success) result = failure;
    }
    response.SetResult(exchange.reply.date, status, nullptr, 0);
    if (logMessages) {
        const UsedProxy used(*wirelink, *exchange.connection);
        WriteRequestRecord(request, exchange.url, result, &status, used.Get());
    }
    return result;
}

uint32_t WirelinkRequestDispatcher::ReceiveHeaders(Exchange& exchange, IRequestResponse& response) {
    const uint32_t result = exchange.connection->Receive(&exchange.reply);
    if (result != Success) {
        Trace::Error("the reply to a download can't be read", WithoutUser(exchange.url), result);
    } else if (exchange.reply.headers) {
        response.SetHeaderText(exchange.reply.headers);
    }
    return result;
}

void WirelinkRequestDispatcher::WriteRequestRecord(IRequest& request, const WideString& url, uint32_t result,
                                                   const uint32_t* status, const IProxySetting* proxy) {
    const Trace::Scope trace("WirelinkRequestDispatcher::WriteRequestRecord");
    const CalendarTime now = platform::LocalTime();
    logFile = MessageFilePath(request.GetName(), now);
    WriteMessageFile(logFile, RequestRecord(request, url, result, status, proxy, now));
}

void WirelinkRequestDispatcher::WriteResponseRecord(const TransportResponse& reply, uint32_t result) {
    const Trace::Scope trace("WirelinkRequestDispatcher::WriteResponseRecord");
    AppendToMessageFile(logFile, ResponseRecord(reply, result, platform::LocalTime()));
}

}  // namespace orrery
