// What an HTTP handler gets and gives: plain records, without sockets and without the HTTP library. Any
// thread.
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orrery::hub {

struct HttpRequest {
    std::string method;  // upper case
    std::string target;  // path and query as they came
    std::string path;    // percent-decoded, without the query
    std::map<std::string, std::string> query;
    std::map<std::string, std::string> headers;  // names in lower case
    std::string body;

    // Empty if the query has no such member.
    std::string Query(const std::string& name) const;
    // The name in lower case.
    std::optional<std::string> Header(const std::string& name) const;
};

// How an answer leaves the connection otherwise than it should.
struct WireFault {
    std::optional<size_t> cut;             // the connection ends after that many bytes of head and body
    std::chrono::milliseconds trickle{0};  // between one byte and the next
    bool endless = false;                  // the body goes on until the peer is gone
};

struct HttpResponse {
    unsigned status = 200;
    std::string body;
    std::string contentType = "application/json";
    std::map<std::string, std::string> headers;  // beyond type and length; a Date here replaces the true one
    std::chrono::milliseconds delay{0};          // waited before the first byte of the answer
    WireFault wire;
    std::string error;  // of an ErrorAnswer: its text
};

HttpResponse JsonAnswer(std::string json);
// {"error":"..."}
HttpResponse ErrorAnswer(unsigned status, const std::string& text);

// Fills target, path and query from a request target such as /a%20b?x=1&y.
void ReadTarget(std::string_view target, HttpRequest& request);
// The parts of a target's path, percent-decoded one by one: a slash within a part is none between parts.
std::vector<std::string> PathParts(std::string_view target);

}  // namespace orrery::hub
