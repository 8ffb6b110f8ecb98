#include "messaging/message_records.h"

#include <string_view>

#include "foundation/text/numbers.h"
#include "foundation/text/time_text.h"
#include "messaging/message_file.h"
#include "messaging/request_body.h"
#include "messaging/web_api_request.h"
#include "platform/text.h"

namespace orrery {

namespace {

constexpr char16_t listSeparator[] = u" | ";

WideString Text(const char16_t* text) {
    return text ? WideString(text) : WideString();
}

WideString ProxyText(const IProxySetting& proxy) {
    switch (proxy.Mode()) {
        case ProxyDirect:
            return u"No proxy";
        case ProxyExplicit:
            return Text(proxy.ProxyList());
        case ProxyWpad:
            return u"WPAD (" + Text(proxy.WPADUrl()) + u")";
        default:
            return {};
    }
}

WideString HeadersText(IRequest& request) {
    HeaderMap headers;
    request.GetHeaders(headers);
    WideString text;
    for (const auto& [name, value] : headers) text += name + u": " + value + listSeparator;
    return text;
}

void AppendLineIfSet(WideString& record, WideView key, WideView value) {
    if (!value.empty()) AppendLine(record, key, value);
}

void AppendBody(WideString& record, const IRequestBody& body) {
    if (body.IsCompressed()) AppendLine(record, u"BodyIsCompressed=true");
    WideString text;
    Utf8ToWide(std::string_view(body.GetData(true), body.GetSize(true)), text);
    AppendLineIfSet(record, u"Body=", text);
}

void AppendError(WideString& record, uint32_t result) {
    if (result != 0) AppendLine(record, u"LastError=", DecimalText(int64_t{static_cast<int32_t>(result)}));
}

void AppendStatus(WideString& record, uint32_t status) {
    if (status != 0) AppendLine(record, u"HTTPStatusCode=", DecimalText(uint64_t{status}));
}

WideString OnOneLine(WideView headers) {
    constexpr WideView lineEnd = u"\r\n";
    WideString text;
    for (size_t begin = 0;;) {
        const size_t end = headers.find(lineEnd, begin);
        text += headers.substr(begin, end - begin);
        if (end == WideView::npos) return text;
        text += listSeparator;
        begin = end + lineEnd.size();
    }
}

void AppendReply(WideString& record, const TransportResponse& reply) {
    AppendStatus(record, reply.status);
    WideString content;
    if (reply.content && AnsiToWide({static_cast<const char*>(reply.content), reply.contentSize}, content))
        AppendLine(record, u"ResponseContent=", content);
    if (reply.headers) AppendLine(record, u"Headers=", OnOneLine(reply.headers));
}

}  // namespace

WideString RequestRecord(IRequest& request, const WideString& url, uint32_t result, const uint32_t* status,
                         const IProxySetting* proxy, const CalendarTime& localTime) {
    WideString record;
    AppendLine(record, u"[REQUEST]");
    AppendLine(record, u"Time=", DateTimeText(localTime, ' '));
    AppendLine(record, u"Verb=", request.GetVerb());
    AppendLine(record, u"URL=", url);
    AppendLine(record, u"User-Agent=", request.GetUserAgent());
    if (proxy) AppendLine(record, u"Proxy=", ProxyText(*proxy));
    AppendLineIfSet(record, u"Headers=", HeadersText(request));
    if (const IRequestBody* body = request.GetBody()) AppendBody(record, *body);
    AppendError(record, result);
    if (status) AppendStatus(record, *status);
    return record;
}

WideString ResponseRecord(const TransportResponse& reply, uint32_t result, const CalendarTime& localTime) {
    WideString record;
    AppendLine(record, {});
    AppendLine(record, u"[RESPONSE]");
    AppendError(record, result);
    AppendLine(record, u"Time=", DateTimeText(localTime, ' '));
    if (reply.size == transportResponseSize) AppendReply(record, reply);
    return record;
}

}  // namespace orrery
