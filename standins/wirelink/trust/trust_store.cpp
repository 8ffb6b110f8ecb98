#include "standins/wirelink/trust/trust_store.h"

#include <string_view>

#include "platform/crypto.h"
#include "standins/wirelink/base/wide_text.h"

namespace orrery::wirelink {
namespace {

constexpr std::string_view pinMark = "sha256//";

// Anything else would be taken for the name of a file with a key.
bool IsPin(std::string_view text) {
    constexpr size_t digestSize = 32;
    std::string digest;
    return text.starts_with(pinMark) && platform::DecodeBase64(text.substr(pinMark.size()), digest) &&
           digest.size() == digestSize;
}

std::string LowerCase(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

}  // namespace

void TrustRules::Add(const std::string& domain, const std::vector<std::string>& pins) {
    std::vector<std::string>& known = pinsByDomain[LowerCase(domain)];
    for (const std::string& pin : pins) {
        if (IsPin(pin)) known.push_back(pin);
    }
}

std::string TrustRules::PinsFor(const std::string& host) const {
    const auto found = pinsByDomain.find(LowerCase(host));
    if (!enabled || found == pinsByDomain.end()) return {};
    std::string pins;
    for (const std::string& pin : found->second) pins += (pins.empty() ? "" : ";") + pin;
    return pins.empty() ? std::string(pinMark) : pins;  // the mark alone is no key's
}

void TrustStore::AddTrustedCertificates(const char16_t* domain, uint32_t count,
                                        const char16_t* const* certificates) {
    std::vector<std::string> pins;
    for (uint32_t i = 0; certificates && i < count; ++i) {
        pins.push_back(Narrow(certificates[i]));
    }
    rules.Add(Narrow(domain), pins);
}

TrustRules RulesOf(const ITrustStore* store) {
    const auto* own = dynamic_cast<const TrustStore*>(store);
    return own ? own->Rules() : TrustRules();
}

}  // namespace orrery::wirelink
