#include "messaging/certificate_trustworthiness_config.h"

namespace orrery {

CCertificateTrustworthinessConfig::CCertificateTrustworthinessConfig(IWirelink* wirelink, ConfigUtil* util)
    : CConfigReader(util), wirelink(wirelink) {
    if (!wirelink) return;
    trustStore = wirelink->CreateTrustStore();
    bool enabled = true;
    CertificatesByDomain trusted;
    CMessageObject settings;
    if (ReadJson(u"Communications.CertificateTrustworthiness.Settings", settings)) {
        settings.GetBool(u"Enabled", enabled);
        const CMessageObject* domains = nullptr;
        if (settings.GetObject(u"TrustedCertificatesByDomain", domains)) ReadDomains(*domains, trusted);
    }
    FillStore(enabled, trusted);
    valid = true;
}

CCertificateTrustworthinessConfig::~CCertificateTrustworthinessConfig() {
    if (trustStore) wirelink->DestroyTrustStore(trustStore);
}

// The texts of a domain's object count like those of an array.
void CCertificateTrustworthinessConfig::ReadDomains(const CMessageObject& domains,
                                                    CertificatesByDomain& trusted) {
    for (const CMessageItem& domain : domains.items) {
        if (domain.kind != KindObject) continue;
        std::vector<WideString> certificates;
        for (const CMessageItem& certificate : domain.value.object->items) {
            if (certificate.kind == KindString && !certificate.text.empty())
                certificates.push_back(certificate.text);
        }
        trusted[domain.name] = std::move(certificates);
    }
}

void CCertificateTrustworthinessConfig::FillStore(bool enabled, const CertificatesByDomain& trusted) const {
    if (!trustStore) return;
    trustStore->SetEnabled(enabled);
    for (const auto& [domain, certificates] : trusted) {
        std::vector<const char16_t*> texts;
        for (const WideString& certificate : certificates) texts.push_back(certificate.c_str());
        trustStore->AddTrustedCertificates(domain.c_str(), static_cast<uint32_t>(texts.size()), texts.data());
    }
}

void CCertificateTrustworthinessConfig::ApplyToServiceClient(IServiceClient* client) {
    if (client && trustStore) client->SetTrustStore(trustStore);
}

void CCertificateTrustworthinessConfig::ApplyToConnection(IConnection* connection) {
    if (connection && trustStore) connection->SetTrustStore(trustStore);
}

}  // namespace orrery
