#include "platform/linux/auto_proxy/script_fetch.h"

#include <curl/curl.h>

#include <memory>

namespace orrery::platform {
namespace {

constexpr size_t maxScript = 1024 * 1024;  // bytes
constexpr long connectTimeout = 5;         // seconds
constexpr long fetchTimeout = 10;          // seconds
constexpr long maxRedirections = 5;

using CurlHandle = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;

// Taking less than was offered ends the transfer with an error.
size_t Append(const char* data, size_t, size_t size, void* target) {
    auto& script = *static_cast<std::string*>(target);
    if (size > maxScript - script.size()) return 0;
    script.append(data, size);
    return size;
}

void Limit(CURL* handle) {
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT, connectTimeout);
    curl_easy_setopt(handle, CURLOPT_TIMEOUT, fetchTimeout);
    // A look-up that hangs must not hold the clean-up beyond the time-out.
    curl_easy_setopt(handle, CURLOPT_QUICK_EXIT, 1L);
    curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https,file");
    curl_easy_setopt(handle, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(handle, CURLOPT_MAXREDIRS, maxRedirections);
    // The file says which proxy to use, so it is fetched without one, whatever the environment says.
    curl_easy_setopt(handle, CURLOPT_PROXY, "");
    curl_easy_setopt(handle, CURLOPT_FAILONERROR, 1L);
}

// Editors put it there, the old script engine takes it for a syntax error.
void DropByteOrderMark(std::string& script) {
    if (script.starts_with("\xEF\xBB\xBF")) script.erase(0, 3);
}

}  // namespace

bool FetchScript(const std::string& url, std::string& script) {
    const CurlHandle handle(curl_easy_init(), &curl_easy_cleanup);
    if (!handle) return false;
    Limit(handle.get());
    curl_easy_setopt(handle.get(), CURLOPT_URL, url.c_str());
    curl_easy_setopt(handle.get(), CURLOPT_WRITEFUNCTION, &Append);
    curl_easy_setopt(handle.get(), CURLOPT_WRITEDATA, &script);
    if (curl_easy_perform(handle.get()) != CURLE_OK) return false;
    DropByteOrderMark(script);
    return !script.empty();
}

}  // namespace orrery::platform
