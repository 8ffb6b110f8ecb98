#include "standins/wirelink/http/http_exchange.h"

#include <openssl/ssl.h>

#include <algorithm>
#include <exception>
#include <new>
#include <utility>

#include "platform/clock.h"
#include "platform/error_codes.h"
#include "platform/text.h"
#include "standins/wirelink/base/transfer_error.h"

namespace orrery::wirelink {
namespace {

using std::chrono::milliseconds;

constexpr int lastAnswer = -1;  // of the requests of one transfer

// There is no counterpart at the end: other users of the library may share the process, and what it prepares
// holds no memory.
CURL* NewHandle() {
    static const CURLcode prepared = curl_global_init(CURL_GLOBAL_DEFAULT);
    return prepared == CURLE_OK ? curl_easy_init() : nullptr;
}

int64_t Ticks(milliseconds time) {
    return time.count() * (platform::ticksPerSecond / 1000);
}

// The authorities that every user of OpenSSL takes by default, SSL_CERT_FILE and SSL_CERT_DIR included, as
// the channel's library does; libcurl by itself reads the one bundle that its build named.
CURLcode TakeDefaultAuthorities(CURL*, void* context, void*) {
    return SSL_CTX_set_default_verify_paths(static_cast<SSL_CTX*>(context)) == 1 ? CURLE_OK
                                                                                 : CURLE_SSL_CACERT_BADFILE;
}

bool IsOfProxy(std::string_view line) {
    const std::string name(line.substr(0, line.find(':')));
    return curl_strequal(name.c_str(), "Proxy-Authorization") ||
           curl_strequal(name.c_str(), "Proxy-Connection");
}

}  // namespace

HttpExchange::HttpExchange(const HttpRequest& request, const Route& route, const Limits& limits,
                           uint64_t bodyLimit, const BodySink& sink)
    : request(request), route(route), limits(limits), bodyLimit(bodyLimit), sink(sink), easy(NewHandle()) {
    multi.reset(curl_multi_init());
}

uint32_t HttpExchange::Run(milliseconds atMost, HttpReply& reply) {
    reply = {};
    if (!easy || !multi) return NotEnoughMemory;
    SetRequest();
    SetHeaders();
    SetRoute();
    SetTrust();
    SetCallbacks();
    Set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(limits.connect.count()));
    Set(CURLOPT_TIMEOUT_MS, static_cast<long>(atMost.count()));
    if (setup != CURLE_OK) return ErrorOfTransfer(setup);
    const uint32_t result = ResultOf(Transfer());
    if (result == Success) ReadReply(reply);
    return result;
}

template <class Value>
void HttpExchange::Set(CURLoption option, Value value) {
    const CURLcode code = curl_easy_setopt(easy.get(), option, value);
    if (setup == CURLE_OK) setup = code;
}

void HttpExchange::SetRequest() {
    Set(CURLOPT_NOSIGNAL, 1L);
    Set(CURLOPT_CURLU, request.url.Handle());
    Set(CURLOPT_PROTOCOLS_STR, "http,https");
    Set(CURLOPT_FOLLOWLOCATION, 0L);
    Set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    if (!request.userAgent.empty()) Set(CURLOPT_USERAGENT, request.userAgent.c_str());

    const auto isVerb = [this](const char* verb) { return curl_strequal(request.verb.c_str(), verb) != 0; };
    const bool hasBody = !request.body.empty() || isVerb("POST") || isVerb("PUT") || isVerb("PATCH");
    if (hasBody) {
        Set(CURLOPT_POST, 1L);
        Set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
        Set(CURLOPT_POSTFIELDS, request.body.empty() ? "" : request.body.data());
    } else if (isVerb("HEAD")) {
        Set(CURLOPT_NOBODY, 1L);
    }
    Set(CURLOPT_CUSTOMREQUEST, request.verb.c_str());
}

// A name with nothing behind the colon takes a header of the library's own away.
void HttpExchange::SetHeaders() {
    for (const auto& [name, value] : request.headers) {
        const bool isAccepted = curl_strequal(name.c_str(), "Accept-Encoding") != 0;
        const std::string sentValue = isAccepted ? KnownEncodings(value) : value;
        if (isAccepted && sentValue.empty()) continue;
        AddHeaderLine(sentValue.empty() ? name + ";" : name + ": " + sentValue);
    }
    if (!FindHeader(request.headers, "Content-Type")) AddHeaderLine("Content-Type:");
    AddHeaderLine("Expect:");  // a server that doesn't know it costs a second
    Set(CURLOPT_HTTPHEADER, headerLines.get());
}

void HttpExchange::AddHeaderLine(const std::string& line) {
    curl_slist* const longer = curl_slist_append(headerLines.get(), line.c_str());
    if (!longer) throw std::bad_alloc();
    static_cast<void>(headerLines.release());
    headerLines.reset(longer);
}

// Empty texts, not null ones, keep the library from the variables of the environment.
void HttpExchange::SetRoute() {
    Set(CURLOPT_PROXY, route.proxy.c_str());
    Set(CURLOPT_NOPROXY, "");
    Set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    if (route.IsDirect() || route.used.username.empty()) return;
    // To offer more than one scheme would cost each request a refusal first.
    Set(CURLOPT_PROXYAUTH, static_cast<long>(CURLAUTH_BASIC));
    Set(CURLOPT_PROXYUSERNAME, ToUtf8(route.used.username).c_str());
    Set(CURLOPT_PROXYPASSWORD, ToUtf8(route.used.password).c_str());
}

void HttpExchange::SetTrust() {
    constexpr const char* none = nullptr;
    for (const CURLoption paths :
         {CURLOPT_CAINFO, CURLOPT_CAPATH, CURLOPT_PROXY_CAINFO, CURLOPT_PROXY_CAPATH}) {
        Set(paths, none);
    }
    Set(CURLOPT_SSL_CTX_FUNCTION, &TakeDefaultAuthorities);
    if (!request.pins.empty()) Set(CURLOPT_PINNEDPUBLICKEY, request.pins.c_str());
}

void HttpExchange::SetCallbacks() {
    Set(CURLOPT_HEADERFUNCTION, &OnHeader);
    Set(CURLOPT_HEADERDATA, this);
    Set(CURLOPT_WRITEFUNCTION, &OnBody);
    Set(CURLOPT_WRITEDATA, this);
    Set(CURLOPT_PREREQFUNCTION, &OnRequestBegins);
    Set(CURLOPT_PREREQDATA, this);
    Set(CURLOPT_DEBUGFUNCTION, &OnTrace);
    Set(CURLOPT_DEBUGDATA, this);
}

CURLcode HttpExchange::Transfer() {
    if (curl_multi_add_handle(multi.get(), easy.get()) != CURLM_OK) return CURLE_OUT_OF_MEMORY;
    for (int running = 1; true;) {
        if (curl_multi_perform(multi.get(), &running) != CURLM_OK) return CURLE_OUT_OF_MEMORY;
        if (running == 0) break;
        if (IsReplyLate()) return CURLE_OPERATION_TIMEDOUT;
        // The library's own deadlines shorten the wait; ours allows for a small overrun.
        const auto wait = std::clamp(limits.firstByte / 10, milliseconds(10), milliseconds(1000));
        curl_multi_poll(multi.get(), nullptr, 0, static_cast<int>(wait.count()), nullptr);
    }
    int left = 0;
    const CURLMsg* const message = curl_multi_info_read(multi.get(), &left);
    return message ? message->data.result : CURLE_FAILED_INIT;
}

bool HttpExchange::IsReplyLate() const {
    return requestBegun && !replyBegun && platform::SteadyTicks() - lastSent > Ticks(limits.firstByte);
}

void HttpExchange::ReadReply(HttpReply& reply) const {
    reply.status = static_cast<uint32_t>(Number(CURLINFO_RESPONSE_CODE));
    curl_header* header = nullptr;
    while ((header = curl_easy_nextheader(easy.get(), CURLH_HEADER, lastAnswer, header))) {
        // The library leaves the line end on a value that is empty.
        reply.headers.emplace_back(header->name, TrimmedValue(header->value));
    }
}

uint32_t HttpExchange::ResultOf(CURLcode outcome) {
    const bool isLoginRefused = IsLoginRefused();
    refusedByRoute = isLoginRefused || (outcome != CURLE_OK && !requestBegun);
    if (isLoginRefused) return ProxyLoginFailed;
    if (failure != Success) return failure;
    if (refusedByRoute && Number(CURLINFO_HTTP_CONNECTCODE) >= 300) return CannotConnect;
    // So does the library call a line that is longer than its buffer may grow (100 KB).
    if (outcome == CURLE_OUT_OF_MEMORY && requestBegun && !headEnded) return HeadersTooLarge;
    if (outcome != CURLE_OK) return ErrorOfTransfer(outcome);
    // The library takes a connection that ends among the headers for the end of the reply.
    if (!headEnded) return ConnectionCut;
    return decoder && !decoder->IsWhole() ? BadServerReply : Success;
}

// By the proxy: it answers CONNECT or, without a tunnel, in the server's place.
bool HttpExchange::IsLoginRefused() const {
    constexpr long proxyLoginRequired = 407;
    if (!requestBegun) return Number(CURLINFO_HTTP_CONNECTCODE) == proxyLoginRequired;
    const bool isTunnel = request.url.Scheme() == "https";
    return !route.IsDirect() && !isTunnel && Number(CURLINFO_RESPONSE_CODE) == proxyLoginRequired;
}

long HttpExchange::Number(CURLINFO info) const {
    long number = 0;
    curl_easy_getinfo(easy.get(), info, &number);
    return number;
}

std::string HttpExchange::SentHeaders() const {
    constexpr std::string_view lineEnd = "\r\n";
    std::string block;
    std::string_view rest = sent;
    for (bool isRequestLine = true; !rest.empty(); isRequestLine = false) {
        const std::string_view line = rest.substr(0, rest.find(lineEnd));
        rest.remove_prefix(std::min(line.size() + lineEnd.size(), rest.size()));
        if (!isRequestLine && !line.empty() && !IsOfProxy(line)) block.append(line).append(lineEnd);
    }
    return block;
}

size_t HttpExchange::OnHeader(char* bytes, size_t, size_t size, void* self) {
    auto& exchange = *static_cast<HttpExchange*>(self);
    const std::string_view line(bytes, size);
    exchange.replyBegun = true;
    if (line.starts_with("HTTP/")) exchange.headEnded = false;
    if (line == "\r\n" || line == "\n") exchange.headEnded = true;
    exchange.headerBytes += size;
    if (exchange.headerBytes <= exchange.limits.headers) return size;
    exchange.failure = HeadersTooLarge;
    return 0;
}

size_t HttpExchange::OnBody(char* bytes, size_t, size_t size, void* self) {
    auto& exchange = *static_cast<HttpExchange*>(self);
    if (exchange.IsLoginRefused()) return 0;  // the proxy's page is for nobody
    try {
        if (!exchange.decoder) exchange.decoder.emplace(exchange.ContentCodings());
        exchange.failure = exchange.decoder->Decode(
            {bytes, size}, [&exchange](std::string_view plain) { return exchange.TakeBody(plain); });
    } catch (const std::exception&) {
        exchange.failure = NotEnoughMemory;
    }
    return exchange.failure == Success ? size : 0;
}

// Those of all fields of that name, as one list.
std::vector<std::string> HttpExchange::ContentCodings() const {
    std::vector<std::string> codings;
    curl_header* header = nullptr;
    for (size_t field = 0; curl_easy_header(easy.get(), "Content-Encoding", field, CURLH_HEADER, lastAnswer,
                                            &header) == CURLHE_OK;
         ++field) {
        for (std::string& coding : ListElements(header->value)) codings.push_back(std::move(coding));
    }
    std::erase_if(codings, [](const std::string& name) { return curl_strequal(name.c_str(), "identity"); });
    return codings;
}

uint32_t HttpExchange::TakeBody(std::string_view plain) {
    bodyBytes += plain.size();
    if (bodyBytes > bodyLimit) return ReplyTooLarge;
    return sink(static_cast<uint32_t>(Number(CURLINFO_RESPONSE_CODE)), plain);
}

// What goes out before is between the library and the proxy.
int HttpExchange::OnRequestBegins(void* self, char*, char*, int, int) {
    auto& exchange = *static_cast<HttpExchange*>(self);
    exchange.requestBegun = true;
    exchange.lastSent = platform::SteadyTicks();
    exchange.Set(CURLOPT_VERBOSE, 1L);  // from here on OnTrace is called
    return CURL_PREREQFUNC_OK;
}

int HttpExchange::OnTrace(CURL*, curl_infotype kind, char* bytes, size_t size, void* self) noexcept {
    auto& exchange = *static_cast<HttpExchange*>(self);
    if (kind != CURLINFO_HEADER_OUT && kind != CURLINFO_DATA_OUT) return 0;
    exchange.lastSent = platform::SteadyTicks();
    if (kind == CURLINFO_HEADER_OUT) exchange.sent.append(bytes, size);
    return 0;
}

}  // namespace orrery::wirelink
