#include "standins/wirelink/http/connection.h"

#include <exception>
#include <new>
#include <utility>

#include "platform/clock.h"
#include "platform/error_codes.h"
#include "platform/text.h"
#include "standins/wirelink/base/deadline.h"
#include "standins/wirelink/base/wide_text.h"
#include "standins/wirelink/http/download_file.h"
#include "standins/wirelink/http/response_record.h"
#include "standins/wirelink/signature/request_signature.h"

namespace orrery::wirelink {
namespace {

// The caller is beyond a library's border, which no exception crosses.
template <class Operation>
uint32_t Guarded(Operation&& operation) {
    try {
        return operation();
    } catch (const std::bad_alloc&) {
        return NotEnoughMemory;
    } catch (const std::exception&) {
        return TransportFailed;
    }
}

// A time that the calendar doesn't have, all zeros among them, is no time.
CalendarTime TimeOrNow(const CalendarTime& time) {
    int64_t ticks = 0;
    return platform::SystemTicksOf(time, ticks) ? time : platform::UtcTime();
}

}  // namespace

std::unique_ptr<Connection> Connection::Open(const std::string& userAgent, const std::string& url,
                                             const std::string& verb, const Limits& limits,
                                             ProxyNotifier& notifier) {
    auto address = Url::Read(url);
    if (!address || !IsToken(verb)) return nullptr;
    HttpRequest request{.url = std::move(*address), .verb = verb};
    if (userAgent.find_first_of("\r\n") == userAgent.npos) request.userAgent = userAgent;
    return std::unique_ptr<Connection>(new Connection(std::move(request), limits, notifier));
}

uint32_t Connection::SendSigned(const char16_t* contentType, const void* data, uint32_t size, uint32_t,
                                const AuthorizationInfo* authorization) {
    if (!data && size > 0) return InvalidParameter;
    return Guarded([&]() -> uint32_t {
        reply.reset();
        SetContentType(Narrow(contentType));
        request.body = {static_cast<const char*>(data), size};
        if (authorization && !Sign(*authorization)) return InvalidParameter;
        return Send();
    });
}

// A caller may also give it among the headers.
void Connection::SetContentType(const std::string& contentType) {
    if (!contentType.empty()) ReplaceHeader(request.headers, "Content-Type", contentType);
}

bool Connection::Sign(const AuthorizationInfo& authorization) {
    const std::string* const contentType = FindHeader(request.headers, "Content-Type");
    const SignedRequest text{.verb = request.verb,
                             .target = request.url.Target(),
                             .timestamp = TimestampText(TimeOrNow(authorization.timestamp)),
                             .contentType = contentType ? *contentType : "",
                             .body = request.body};
    const std::string signature = Signature(authorization.version, authorization.secret, text);
    const std::string value =
        AuthorizationText(ToUtf8(authorization.service), ToUtf8(authorization.authorizationId), signature);
    return !signature.empty() && ReplaceHeader(request.headers, timestampHeader, text.timestamp) &&
           ReplaceHeader(request.headers, "Authorization", value);
}

uint32_t Connection::Send() {
    HttpReply answer;
    std::string body;
    const uint32_t result = Exchange(
        limits.reply,
        [&body](uint32_t, std::string_view bytes) {
            body.append(bytes);
            return Success;
        },
        answer);
    if (result != Success) return result;
    answer.body = std::move(body);
    reply = std::move(answer);
    return Success;
}

uint32_t Connection::Download(const WideString& path, uint32_t& status) {
    status = 0;
    return Guarded([&] { return DownloadTo(path, status); });
}

uint32_t Connection::DownloadTo(const WideString& path, uint32_t& status) {
    constexpr uint32_t notModified = 304;
    reply.reset();
    request.body = {};
    HttpReply answer;
    DownloadFile file(path);
    const auto write = [&file](uint32_t answered, std::string_view bytes) {
        if (!IsSuccess(answered)) return uint32_t{Success};
        return file.Write(bytes);
    };
    uint32_t result = Exchange(limits.download, write, answer);
    if (result == Success && IsSuccess(answer.status)) result = file.Commit();
    if (result != Success) return result;
    status = answer.status;
    reply = std::move(answer);
    return status == notModified ? Continue : Success;
}

uint32_t Connection::Exchange(uint64_t bodyLimit, const BodySink& sink, HttpReply& answer) {
    sentHeaders.clear();
    routeUsed.reset();
    const Deadline deadline(limits.whole);
    ProxyRoutes routes(proxies, request.url.Scheme(), [&](const WideString& pacUrl) {
        return AskPacFile(request.url.Text(), pacUrl, deadline);
    });
    uint32_t result = TransportFailed;
    for (auto route = routes.Next(); route; route = routes.Next()) {
        const auto left = deadline.Left();
        if (left.count() == 0) return TimedOut;
        HttpExchange exchange(request, *route, limits, bodyLimit, sink);
        result = exchange.Run(left, answer);
        sentHeaders = exchange.SentHeaders();
        routeUsed.reset();
        if (!sentHeaders.empty()) routeUsed = std::move(route);
        if (!exchange.IsRefusedByRoute()) break;
    }
    if (result == Success) ReportProxy();
    return result;
}

// A report that can't be made costs nothing but itself.
void Connection::ReportProxy() const {
    try {
        notifier.Report(routeUsed->IsDirect() ? nullptr : std::make_unique<ProxySetting>(routeUsed->used));
    } catch (const std::exception&) {
    }
}

uint32_t Connection::Receive(TransportResponse* response) {
    if (!response) return InvalidParameter;
    if (!reply) return NothingReceived;
    return Guarded([&] {
        FillResponse(*response, *reply);
        return Success;
    });
}

void Connection::AddHeader(const char16_t* name, const char16_t* value) {
    AddHeader(Narrow(name), Narrow(value));
}

void Connection::AddHeader(const std::string& name, const std::string& value) {
    wirelink::AddHeader(request.headers, name, value);
}

bool Connection::GetSentHeaders(WideString& headers) {
    if (sentHeaders.empty()) return false;
    headers = ToWide(sentHeaders);
    return true;
}

bool Connection::GetProxyUsed(IProxySetting* entry) {
    auto* const own = dynamic_cast<ProxySetting*>(entry);
    if (!own || !routeUsed) return false;
    own->Assign(ProxySetting(routeUsed->used));
    return true;
}

}  // namespace orrery::wirelink
