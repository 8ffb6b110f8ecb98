// How a request is signed: a matter between the transport and the server, which share this. It reads no clock
// and no settings. No state; any thread. docs/transport.md has the same in words, with an example.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace orrery::wirelink {

inline constexpr char timestampHeader[] = "x-zelko-timestamp";

// What of a request is signed.
struct SignedRequest {
    std::string verb;
    std::string target;       // path and query as they stand in the request line of the server
    std::string timestamp;    // value of the timestamp header
    std::string contentType;  // value of Content-Type, empty without one
    std::string_view body;
};

// Base64. Version 2 covers the body, version 1 doesn't. Empty if the platform's cryptography refuses.
std::string Signature(uint32_t version, std::string_view secret, const SignedRequest& request);

// `<service> <authorizationId>:<signature>`, the value of the header Authorization, and the way back. False
// if the text has another form.
std::string AuthorizationText(const std::string& service, const std::string& authorizationId,
                              const std::string& signature);
bool ReadAuthorization(std::string_view text, std::string& service, std::string& authorizationId,
                       std::string& signature);

}  // namespace orrery::wirelink
