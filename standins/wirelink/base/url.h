// A URL of http or https, taken apart by the library that sends it, so that what is checked and signed is
// what goes out. It looks nothing up. One thread at a time.
#pragma once

#include <curl/curl.h>

#include <memory>
#include <optional>
#include <string>

namespace orrery::wirelink {

class Url {
  public:
    // Blanks and characters beyond ASCII come out percent-encoded. None for another scheme, no host or an
    // otherwise ill-formed text.
    static std::optional<Url> Read(const std::string& text);
    // `part`, which must be no part of a path, as one segment of it: slashes are encoded too.
    static std::string EncodeSegment(const std::string& part);

    std::string Text() const;
    const std::string& Scheme() const { return scheme; }
    const std::string& Host() const { return host; }
    // `scheme://host:port`, the scheme's own port if the text names none.
    std::string Origin() const;
    bool HasUser() const { return !Part(CURLUPART_USER).empty(); }
    // Path and query, as they stand in the request line of the server.
    std::string Target() const;
    CURLU* Handle() const { return handle.get(); }  // for the transfer; stays this object's

  private:
    struct Deleter {
        void operator()(CURLU* url) const { curl_url_cleanup(url); }
    };

    Url() : handle(curl_url()) {}
    std::string Part(CURLUPart part, unsigned flags = 0) const;

    std::unique_ptr<CURLU, Deleter> handle;
    std::string scheme;
    std::string host;
};

}  // namespace orrery::wirelink
