// One try of one request by one route: sends it, reads the reply and says what became of it, within the
// deadlines and limits. It chooses no route, signs nothing and follows no redirect. One thread, which waits.
#pragma once

#include <curl/curl.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "standins/wirelink/base/limits.h"
#include "standins/wirelink/base/url.h"
#include "standins/wirelink/http/body_decoder.h"
#include "standins/wirelink/http/http_headers.h"
#include "standins/wirelink/proxy/proxy_routes.h"

namespace orrery::wirelink {

struct HttpRequest {
    Url url;
    std::string verb;
    std::string userAgent{};  // empty: none is sent
    HeaderList
        headers{};  // sent as they are, but for the value of Accept-Encoding; Content-Length comes by itself
    std::string_view body{};  // the caller's
    std::string pins{};       // TrustRules::PinsFor
};

struct HttpReply {
    uint32_t status = 0;
    HeaderList headers{};  // of the last answer; not of a proxy's to CONNECT, nor of an interim one
    std::string body{};    // in plain form
};

inline bool IsSuccess(uint32_t status) {
    return status >= 200 && status < 300;
}

// Takes a piece of the reply's body in plain form; 0, or the error code that ends the transfer.
using BodySink = std::function<uint32_t(uint32_t status, std::string_view bytes)>;

class HttpExchange {
  public:
    // All but the numbers outlive the object. `bodyLimit` in bytes.
    HttpExchange(const HttpRequest& request, const Route& route, const Limits& limits, uint64_t bodyLimit,
                 const BodySink& sink);

    // Once. 0: the reply has come, whole, and its status and headers are in `reply`.
    uint32_t Run(std::chrono::milliseconds atMost, HttpReply& reply);

    // The header block as sent to the server, in lines ended by CR LF, without what is the proxy's; empty if
    // nothing was sent.
    std::string SentHeaders() const;
    // The try failed before any of the request could reach the server.
    bool IsRefusedByRoute() const { return refusedByRoute; }

  private:
    struct Deleter {
        void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
        void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    };
    struct MultiDeleter {
        void operator()(CURLM* handle) const { curl_multi_cleanup(handle); }
    };

    template <class Value>
    void Set(CURLoption option, Value value);
    void SetRequest();
    void SetHeaders();
    void AddHeaderLine(const std::string& line);
    void SetRoute();
    void SetTrust();
    void SetCallbacks();
    CURLcode Transfer();
    bool IsReplyLate() const;
    void ReadReply(HttpReply& reply) const;
    uint32_t ResultOf(CURLcode outcome);
    bool IsLoginRefused() const;
    std::vector<std::string> ContentCodings() const;
    uint32_t TakeBody(std::string_view plain);
    long Number(CURLINFO info) const;

    static size_t OnHeader(char* bytes, size_t one, size_t size, void* self);
    static size_t OnBody(char* bytes, size_t one, size_t size, void* self);
    static int OnRequestBegins(void* self, char*, char*, int, int);
    static int OnTrace(CURL*, curl_infotype kind, char* bytes, size_t size, void* self) noexcept;

    const HttpRequest& request;
    const Route& route;
    const Limits& limits;
    const uint64_t bodyLimit;
    const BodySink& sink;

    std::unique_ptr<CURLM, MultiDeleter> multi;
    std::unique_ptr<curl_slist, Deleter> headerLines;
    std::unique_ptr<CURL, Deleter> easy;  // goes before what it uses
    CURLcode setup = CURLE_OK;            // the first option that was refused

    bool requestBegun = false;
    bool replyBegun = false;
    bool headEnded = false;  // of the last answer
    bool refusedByRoute = false;
    int64_t lastSent = 0;                // steady ticks
    std::optional<BodyDecoder> decoder;  // from the body's first piece on
    uint64_t headerBytes = 0;
    uint64_t bodyBytes = 0;
    uint32_t failure = 0;  // what a callback ended the transfer for
    std::string sent;      // request line and headers
};

}  // namespace orrery::wirelink
