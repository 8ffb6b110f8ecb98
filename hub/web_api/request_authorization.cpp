#include "hub/web_api/request_authorization.h"

#include <charconv>
#include <cstdlib>
#include <string_view>

#include "platform/clock.h"
#include "standins/wirelink/signature/request_signature.h"

namespace orrery::hub {
namespace {

constexpr int64_t maxClockDifference = 300 * platform::ticksPerSecond;

struct Claim {
    std::string service;
    std::string device;
    std::string signature;
};

std::optional<Claim> ReadClaim(const HttpRequest& request) {
    Claim claim;
    const auto text = request.Header("authorization");
    if (!text || !wirelink::ReadAuthorization(*text, claim.service, claim.device, claim.signature) ||
        claim.device.empty())
        return std::nullopt;
    return claim;
}

// 0 for a service that isn't ours.
uint32_t VersionOf(const std::string& service) {
    return service == "ZWS" ? 1 : service == "ZWS2" ? 2 : 0;
}

bool ReadNumber(std::string_view digits, uint16_t& number) {
    const auto [stopped, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return error == std::errc() && stopped == digits.data() + digits.size();
}

// 2026-01-02T03:04:05.678Z, and no other form.
bool ReadTimestamp(std::string_view text, int64_t& ticks) {
    constexpr std::string_view form = "dddd-dd-ddTdd:dd:dd.dddZ";
    if (text.size() != form.size()) return false;
    for (size_t i = 0; i < form.size(); ++i) {
        if (form[i] != 'd' && text[i] != form[i]) return false;
    }
    CalendarTime time;
    return ReadNumber(text.substr(0, 4), time.year) && ReadNumber(text.substr(5, 2), time.month) &&
           ReadNumber(text.substr(8, 2), time.day) && ReadNumber(text.substr(11, 2), time.hour) &&
           ReadNumber(text.substr(14, 2), time.minute) && ReadNumber(text.substr(17, 2), time.second) &&
           ReadNumber(text.substr(20, 3), time.milliseconds) && platform::SystemTicksOf(time, ticks);
}

}  // namespace

Authorization Authorize(const HttpRequest& request, const std::string& secret, const HubClock& clock) {
    const auto claim = ReadClaim(request);
    if (!claim) return {401, "not signed"};
    const uint32_t version = VersionOf(claim->service);
    if (version == 0) return {401, "unknown service of the signature"};
    const std::string timestamp = request.Header(wirelink::timestampHeader).value_or("");
    const std::string wanted =
        wirelink::Signature(version, secret,
                            {.verb = request.method,
                             .target = request.target,
                             .timestamp = timestamp,
                             .contentType = request.Header("content-type").value_or(""),
                             .body = request.body});
    if (wanted.empty() || claim->signature != wanted) return {401, "wrong signature"};
    int64_t signedAt = 0;
    if (!ReadTimestamp(timestamp, signedAt)) return {403, "unreadable timestamp"};
    if (std::abs(signedAt - clock.Ticks()) > maxClockDifference) return {403, "timestamp too far off"};
    return {};
}

std::optional<std::string> ClaimedDevice(const HttpRequest& request) {
    const auto claim = ReadClaim(request);
    return claim ? std::optional(claim->device) : std::nullopt;
}

}  // namespace orrery::hub
