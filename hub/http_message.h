// What an HTTP handler gets and gives: plain records, without sockets and without the HTTP library. Any
// thread.
#pragma once

#include <chrono>
#include <map>
#include <string>
#include <string_view>

namespace orrery::hub {

struct HttpRequest {
    std::string method;  // upper case
    std::string path;    // percent-decoded, without the query
    std::map<std::string, std::string> query;
    std::map<std::string, std::string> headers;  // names in lower case
    std::string body;

    // Empty if the query has no such member.
    std::string Query(const std::string& name) const;
};

struct HttpResponse {
    unsigned status = 200;
    std::string body;
    std::string contentType = "application/json";
    std::map<std::string, std::string> headers;  // beyond type and length
    std::chrono::milliseconds delay{0};          // waited before the first byte of the answer
};

HttpResponse JsonAnswer(std::string json);
// {"error":"..."}
HttpResponse ErrorAnswer(unsigned status, const std::string& text);

// Fills path and query from a request target such as /a%20b?x=1&y.
void ReadTarget(std::string_view target, HttpRequest& request);

}  // namespace orrery::hub
