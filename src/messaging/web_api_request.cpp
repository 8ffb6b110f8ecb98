#include "messaging/web_api_request.h"

#include <algorithm>

#include "foundation/settings/config_helper.h"
#include "foundation/settings/config_reader.h"
#include "foundation/text/time_text.h"
#include "foundation/trace.h"
#include "messaging/url_template.h"
#include "platform/clock.h"
#include "platform/guid.h"
#include "platform/text.h"

namespace orrery {

namespace {

constexpr char16_t downloadMethod[] = u"Download_File";  // its URL is given by SetUrl

WideString WithForwardSlashes(WideString text) {
    std::replace(text.begin(), text.end(), u'\\', u'/');
    return text;
}

WideString BehindLastSlash(const WideString& url) {
    return url.substr(url.rfind(u'/') + 1);  // npos + 1 is 0
}

WideString HostOf(const WideString& url) {
    const size_t scheme = url.find(u"://");
    if (scheme == WideString::npos) return {};
    const size_t host = scheme + 3;
    return url.substr(host, std::min(url.find(u'/', host), url.size()) - host);
}

WideString NewMessageId() {
    WideString guid;
    platform::NewGuid(guid);
    return guid;
}

}  // namespace

WebApiRequest::WebApiRequest(ConfigUtil* util, const WideString& extraName, IRequestBody* body,
                             WideString methodName, UrlParameters parameters, WideString relativePath)
    : configUtil(util ? util : GetConfigUtil()),
      method(std::move(methodName)),
      body(body),
      relativePath(std::move(relativePath)),
      name(extraName.empty() ? method : method + u" " + extraName),
      parameters(std::move(parameters)) {}

WideString WebApiRequest::ReadMethodSetting(const char16_t* setting) const {
    const Trace::Scope trace("WebApiRequest::ReadMethodSetting");
    WideString value;
    ReadWithDefaults(configUtil, u"Communications", method.empty() ? u"Defaults" : method, setting, value);
    return value;
}

WideString WebApiRequest::GetVerb() const {
    if (method.empty()) return {};
    const WideString verb = ReadMethodSetting(u"Verb");
    return verb.empty() && method == downloadMethod ? u"GET" : verb;
}

WideString WebApiRequest::GetUserAgent() const {
    return ReadMethodSetting(u"User-Agent");
}

WideString WebApiRequest::BuildUrl() const {
    WideString text = WithForwardSlashes(ReadMethodSetting(u"Scheme"));
    if (!text.empty() && text.find_first_of(u":/") == WideString::npos) text += u"://";
    const WideString host = WithForwardSlashes(ReadMethodSetting(u"Hostname"));
    if (!host.empty()) {
        text += host;
        if (!text.ends_with(u'/')) text += u'/';
    }
    const WideString path = WithForwardSlashes(ReadMethodSetting(u"Path"));
    text += path.starts_with(u'/') ? path.substr(1) : path;
    return text + WithForwardSlashes(relativePath);
}

const WideString& WebApiRequest::GetUrl() {
    const Trace::Scope trace("WebApiRequest::GetUrl");
    if (!method.empty() && method != downloadMethod) url = BuildUrl();
    if (FillPlaceholders(url, parameters)) DropUnfilledQuery(url);
    return url;
}

void WebApiRequest::SetUrl(const WideString& path) {
    const Trace::Scope trace("WebApiRequest::SetUrl");
    url = WithForwardSlashes(relativePath + path);
    FillPlaceholders(url, parameters);
    if (method.empty()) name = u" " + HostOf(url);
    if (method == downloadMethod) name = url.empty() ? method : method + u" " + BehindLastSlash(url);
}

void WebApiRequest::MakeStandardHeaders() {
    headers.emplace(u"x-zelko-messageId", NewMessageId());
    headers.emplace(u"x-zelko-messageDate", DateTimeText(platform::UtcTime(), 'T') + u"Z");
    const WideString verb = GetVerb();
    if (EqualNoCase(verb, u"PUT") || EqualNoCase(verb, u"POST")) {
        defaultHeaders.emplace(u"Accept", u"application/json");
        defaultHeaders.emplace(u"Accept-encoding", u"gzip");
    } else if (EqualNoCase(verb, u"GET")) {
        defaultHeaders.emplace(u"Accept", u"*/*");
    }
}

void WebApiRequest::GetHeaders(HeaderMap& out) {
    const Trace::Scope trace("WebApiRequest::GetHeaders");
    MakeStandardHeaders();
    out = headers;
    for (const auto& [header, value] : defaultHeaders) {
        WideString& current = out[header];
        if (current.empty()) current = value;
    }
}

void WebApiRequest::AddHeader(const WideString& header, const WideString& value) {
    headers.emplace(header, value);
}

bool WebApiRequest::AddHeaderText(WideView text) {
    const Trace::Scope trace("WebApiRequest::AddHeaderText");
    HeaderMap parsed;
    if (!ParseHeaderText(text, parsed)) return false;
    AddHeaders(parsed);
    return true;
}

void WebApiRequest::AddHeaders(const HeaderMap& map) {
    headers.insert(map.begin(), map.end());
}

bool WebApiRequest::SetHeaderText(WideView text) {
    const Trace::Scope trace("WebApiRequest::SetHeaderText");
    headers.clear();
    return ParseHeaderText(text, headers);
}

}  // namespace orrery
