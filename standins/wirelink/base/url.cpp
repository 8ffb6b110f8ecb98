#include "standins/wirelink/base/url.h"

namespace orrery::wirelink {
namespace {

std::string Owned(char* text) {
    const std::unique_ptr<char, decltype(&curl_free)> owner(text, &curl_free);
    return text ? text : "";
}

}  // namespace

std::optional<Url> Url::Read(const std::string& text) {
    // The library would take a path's first part for a missing host.
    if (const size_t colon = text.find(':'); colon != text.npos && text.compare(colon, 4, ":///") == 0)
        return {};
    Url url;
    constexpr unsigned flags = CURLU_URLENCODE | CURLU_ALLOW_SPACE;
    if (!url.handle || curl_url_set(url.Handle(), CURLUPART_URL, text.c_str(), flags) != CURLUE_OK) return {};
    url.scheme = url.Part(CURLUPART_SCHEME);
    url.host = url.Part(CURLUPART_HOST);
    if ((url.scheme != "http" && url.scheme != "https") || url.host.empty()) return {};
    // A bare question mark would be sent by some and dropped by others.
    if (url.Part(CURLUPART_QUERY).empty()) curl_url_set(url.Handle(), CURLUPART_QUERY, nullptr, 0);
    return url;
}

std::string Url::EncodeSegment(const std::string& part) {
    return Owned(curl_easy_escape(nullptr, part.c_str(), static_cast<int>(part.size())));
}

std::string Url::Text() const {
    return Part(CURLUPART_URL);
}

std::string Url::Origin() const {
    return Scheme() + "://" + Host() + ":" + Part(CURLUPART_PORT, CURLU_DEFAULT_PORT);
}

std::string Url::Target() const {
    const std::string query = Part(CURLUPART_QUERY);
    return Part(CURLUPART_PATH) + (query.empty() ? "" : "?" + query);
}

std::string Url::Part(CURLUPart part, unsigned flags) const {
    char* text = nullptr;
    return curl_url_get(handle.get(), part, &text, flags) == CURLUE_OK ? Owned(text) : std::string();
}

}  // namespace orrery::wirelink
