#include "standins/wirelink/signature/request_signature.h"

#include "platform/crypto.h"

namespace orrery::wirelink {

namespace {

std::string Hex(std::string_view bytes) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<uint8_t>(byte);
        text += digits[value >> 4];
        text += digits[value & 15];
    }
    return text;
}

}  // namespace

std::string Signature(uint32_t version, std::string_view secret, const SignedRequest& request) {
    std::string text =
        request.verb + '\n' + request.target + '\n' + request.timestamp + '\n' + request.contentType;
    std::string digest;
    if (version >= 2) {
        if (!platform::Sha256(request.body, digest)) return {};
        text += '\n' + Hex(digest);
    }
    return platform::HmacSha256(secret, text, digest) ? platform::Base64(digest) : std::string();
}

std::string AuthorizationText(const std::string& service, const std::string& authorizationId,
                              const std::string& signature) {
    return service + ' ' + authorizationId + ':' + signature;
}

// An id may hold colons; a signature doesn't.
bool ReadAuthorization(std::string_view text, std::string& service, std::string& authorizationId,
                       std::string& signature) {
    const size_t blank = text.find(' ');
    const size_t colon = text.rfind(':');
    if (blank == text.npos || colon == text.npos || colon < blank) return false;
    service = text.substr(0, blank);
    authorizationId = text.substr(blank + 1, colon - blank - 1);
    signature = text.substr(colon + 1);
    return true;
}

}  // namespace orrery::wirelink
