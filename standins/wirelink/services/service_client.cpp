#include "standins/wirelink/services/service_client.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

#include "platform/files.h"
#include "platform/text.h"
#include "standins/wirelink/base/wide_text.h"

namespace orrery::wirelink {
namespace {

constexpr char json[] = "application/json";
constexpr char bytes[] = "application/octet-stream";
constexpr uint32_t notModified = 304;

bool NamesSomething(const std::string& segment) {
    return !segment.empty() && segment != "." && segment != "..";
}

// The buffer's text, whether it is terminated or not.
WideString ReadTag(const char16_t* tag) {
    if (!tag) return {};
    return WideString(tag, std::find(tag, tag + entityTagCapacity, u'\0'));
}

// Empty for none, which one that doesn't fit counts as.
WideString TagOf(const HttpReply& reply) {
    const std::string* const tag = FindHeader(reply.headers, "ETag");
    WideString wide = tag ? ToWide(*tag) : WideString();
    return wide.size() < entityTagCapacity ? wide : WideString();
}

void WriteTag(const WideString& text, char16_t* tag) {
    if (tag) std::copy_n(text.c_str(), text.size() + 1, tag);
}

std::optional<std::string> ReadFile(const WideString& path) {
    constexpr uintmax_t largest = uintmax_t{256} << 20;
    const std::string native = platform::NativePath(path);
    std::error_code failure;
    const uintmax_t size = std::filesystem::file_size(native, failure);
    if (failure || size > largest) return {};
    std::string content(size, '\0');
    std::ifstream file(native, std::ios::binary);
    if (!file.read(content.data(), static_cast<std::streamsize>(size))) return {};
    return content;
}

std::string HostUrl(const std::string& host) {
    std::string url = host.find("://") == host.npos ? "https://" + host : host;
    while (url.ends_with('/')) url.pop_back();
    return url;
}

std::string BaseUrl(const ServiceAddress& address) {
    std::string url = HostUrl(address.host);
    if (!address.pathPrefix.empty() && !address.pathPrefix.starts_with('/')) url += '/';
    url += address.pathPrefix;
    if (url.ends_with('/')) url.pop_back();
    return url + '/' + Url::EncodeSegment(address.service) + '/' + std::to_string(address.product);
}

HeaderList CommonHeaders(const ServiceAddress& address) {
    HeaderList headers;
    AddHeader(headers, "x-zelko-deviceId", address.deviceId);
    AddHeader(headers, "x-zelko-siteId", address.siteId);
    AddHeader(headers, "x-zelko-productVersion", address.productVersion);
    return headers;
}

}  // namespace

std::unique_ptr<ServiceClient> ServiceClient::Open(const ServiceAddress& address,
                                                   const AuthorizationInfo* authorization,
                                                   const Limits& limits, ServerClock& clock,
                                                   ProxyNotifier& notifier) {
    const bool isAddress = Url::Read(HostUrl(address.host)) && NamesSomething(address.service);
    if (!isAddress || !Url::Read(BaseUrl(address))) return nullptr;
    return std::unique_ptr<ServiceClient>(new ServiceClient(address, authorization, limits, clock, notifier));
}

ServiceClient::ServiceClient(const ServiceAddress& address, const AuthorizationInfo* authorization,
                             const Limits& limits, ServerClock& clock, ProxyNotifier& notifier)
    : userAgent(address.userAgent),
      commonHeaders(CommonHeaders(address)),
      authorization(authorization ? std::optional(*authorization) : std::nullopt),
      limits(limits),
      clock(clock),
      notifier(notifier),
      baseUrl(BaseUrl(address)) {}

bool ServiceClient::UploadFile(const char16_t* container, const char16_t* name, const char16_t* path) {
    auto content = ReadFile(TextOrEmpty(path));
    return content &&
           Succeeds({"PUT", {"files", Narrow(container), Narrow(name)}, bytes, std::move(*content), {}});
}

bool ServiceClient::Enqueue(const char16_t* container, const char16_t* label, const char* message) {
    const std::string body = message ? message : "";
    return Succeeds({"POST", {"queues", Narrow(container)}, json, body, {{"x-zelko-label", Narrow(label)}}});
}

bool ServiceClient::SendDataContainer(const char16_t* container, uint32_t version, const char16_t* name,
                                      const std::string& data, bool last) {
    return Succeeds({"PUT",
                     {"containers", Narrow(container), std::to_string(version), Narrow(name)},
                     bytes,
                     data,
                     {{"x-zelko-last", last ? "true" : "false"}}});
}

bool ServiceClient::GetDataById(const char16_t* id, char16_t* tag, void* data, uint32_t& size,
                                uint32_t& status) {
    constexpr uint32_t largest = 65'535;
    status = 0;
    Operation operation{"GET", {Narrow(id)}, "", {}, {}};
    if (const WideString known = ReadTag(tag); !known.empty()) {
        operation.headers.emplace_back("If-None-Match", ToUtf8(known));
    }
    const auto reply = Perform(operation);
    if (!reply) return false;
    status = reply->status;
    if (status != 200 && status != notModified) return false;
    const bool hasRoom = data && size > 0;
    if (reply->body.size() > (hasRoom ? std::min(size - 1, largest) : 0)) return false;
    // With the zero that ends it.
    if (hasRoom) std::memcpy(data, reply->body.c_str(), reply->body.size() + 1);
    size = static_cast<uint32_t>(reply->body.size());
    if (const WideString answered = TagOf(*reply); !answered.empty()) WriteTag(answered, tag);
    return true;
}

bool ServiceClient::SetDataById(const char16_t* id, char16_t* tag, const char* body, uint32_t& status) {
    status = 0;
    const auto reply = Perform({"PUT", {Narrow(id)}, json, body ? body : "", {}});
    if (!reply) return false;
    status = reply->status;
    if (!IsSuccess(status)) return false;
    WriteTag(TagOf(*reply), tag);
    return true;
}

bool ServiceClient::Succeeds(const Operation& operation) const {
    const auto reply = Perform(operation);
    return reply && IsSuccess(reply->status);
}

// No exception crosses a library's border.
std::optional<HttpReply> ServiceClient::Perform(const Operation& operation) const noexcept {
    try {
        return Request(operation);
    } catch (const std::exception&) {
        return {};
    }
}

std::optional<HttpReply> ServiceClient::Request(const Operation& operation) const {
    std::string url = baseUrl;
    for (const std::string& segment : operation.path) {
        if (!NamesSomething(segment)) return {};
        url += '/' + Url::EncodeSegment(segment);
    }
    const auto connection = Connection::Open(userAgent, url, operation.verb, limits, notifier);
    if (!connection) return {};
    for (const HeaderList* headers : {&commonHeaders, &operation.headers}) {
        for (const auto& [name, value] : *headers) connection->AddHeader(name, value);
    }
    connection->SetProxies(proxies);
    connection->SetTrust(trust);
    Send(*connection, operation);
    const HttpReply* const reply = connection->Reply();
    if (reply) clock.Learn(reply->headers);
    return reply ? std::optional(*reply) : std::nullopt;
}

void ServiceClient::Send(Connection& connection, const Operation& operation) const {
    AuthorizationInfo signer = authorization.value_or(AuthorizationInfo());
    if (int64_t ticks = 0; !platform::SystemTicksOf(signer.timestamp, ticks)) signer.timestamp = clock.Now();
    connection.SendSigned(ToWide(operation.contentType).c_str(), operation.body.data(),
                          static_cast<uint32_t>(operation.body.size()), 0, authorization ? &signer : nullptr);
}

}  // namespace orrery::wirelink
