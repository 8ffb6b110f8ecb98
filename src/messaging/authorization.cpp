#include "messaging/authorization.h"

#include <array>

#include "foundation/text/numbers.h"
#include "foundation/trace.h"
#include "platform/text.h"

namespace orrery {

namespace {

constexpr uint32_t longestValue = 256;  // characters, with the zero that ends it

bool ReadPart(ConfigUtil& util, const char16_t* section, const char16_t* name, WideString& value) {
    std::array<char16_t, longestValue> buffer{};
    uint32_t size = longestValue;
    const uint32_t result = util.ReadValueParts(section, u"Authorization", name, buffer.data(), &size, 0);
    if (result == 0) {
        value = buffer.data();
    } else {
        Trace::Error("a credential can't be read", section, name, result);
    }
    return result == 0;
}

bool StartsWithDigit(WideView text) {
    return !text.empty() && text[0] >= u'0' && text[0] <= u'9';
}

bool IsVersion2(ConfigUtil& util, const char16_t* section) {
    WideString service;
    WideString version;
    if (!ReadPart(util, section, u"AuthorizationService", service)) return false;
    if (service != u"ZWS") {
        Trace::Error("the authorization service isn't known", service);
        return false;
    }
    if (!ReadPart(util, section, u"AuthorizationServiceVersion", version)) return false;
    const auto number = StartsWithDigit(version) ? LeadingUnsigned(version) : std::nullopt;
    if (!number) Trace::Error("the version of the authorization service is no number", version);
    return number == 2;
}

}  // namespace

bool LoadAuthorization(ConfigUtil* configUtil, AuthorizationInfo& out, const char16_t* section,
                       const CalendarTime* timestamp, bool forWebApi) {
    AuthorizationInfo info;
    if (timestamp) info.timestamp = *timestamp;
    info.forWebApi = forWebApi;
    if (!configUtil || !ReadPart(*configUtil, section, u"AuthorizationId", info.authorizationId))
        return false;
    const bool second = IsVersion2(*configUtil, section);
    info.version = second ? 2 : 1;
    info.service = second ? u"ZWS2" : u"ZWS";
    WideString secret;
    if (!ReadPart(*configUtil, section, u"Secret", secret) || !WideToUtf8(secret, info.secret)) return false;
    out = std::move(info);
    return true;
}

}  // namespace orrery
