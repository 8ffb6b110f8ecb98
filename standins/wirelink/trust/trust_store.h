// Which certificates of a server count, domain by domain. It knows no connection: it says what a transfer has
// to check. One thread at a time; a connection takes a copy of the rules.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "contracts/wirelink.h"

namespace orrery::wirelink {

class TrustRules {
  public:
    void SetEnabled(bool isEnabled) { enabled = isEnabled; }
    // Adds to what `domain` has. One without a pin is a domain that takes no certificate.
    void Add(const std::string& domain, const std::vector<std::string>& pins);
    // The pins of which a certificate for `host` has to match one, in the form that libcurl takes
    // (CURLOPT_PINNEDPUBLICKEY); empty if the authorities decide alone.
    std::string PinsFor(const std::string& host) const;

  private:
    std::map<std::string, std::vector<std::string>> pinsByDomain;  // domains in lower-case letters
    bool enabled = true;
};

class TrustStore final : public ITrustStore {
  public:
    void SetEnabled(bool enabled) override { rules.SetEnabled(enabled); }
    // Each certificate is `sha256//` and the Base64 of its public key's SHA-256. Others match nothing.
    void AddTrustedCertificates(const char16_t* domain, uint32_t count,
                                const char16_t* const* certificates) override;

    const TrustRules& Rules() const { return rules; }

  private:
    TrustRules rules;
};

// The rules of a store that this transport made; those of no store for null.
TrustRules RulesOf(const ITrustStore* store);

}  // namespace orrery::wirelink
