// Which certificates are trusted, domain by domain, as the settings say, put into a trust store of the
// transport. It compares no certificate itself, and the WebSocket channel has nothing to do with it. All the
// work is done at construction; a change of the settings is seen by the next object. One thread.
#pragma once

#include <map>
#include <vector>

#include "contracts/wirelink.h"
#include "foundation/settings/config_reader.h"

namespace orrery {

// None of these fails or reaches the network.
class ICertificateTrustworthinessConfig {
  public:
    virtual ~ICertificateTrustworthinessConfig() = default;
    // It can be applied. Says nothing of whether the checking is enabled.
    virtual bool IsValid() = 0;
    // Owned by this object. Null if the transport gave none.
    virtual ITrustStore* GetTrustStore() = 0;
    // Give the store to a client or a connection, which copies it. Nothing happens for null or without a
    // store.
    virtual void ApplyToServiceClient(IServiceClient* client) = 0;
    virtual void ApplyToConnection(IConnection* connection) = 0;
};

class CCertificateTrustworthinessConfig final : public ICertificateTrustworthinessConfig,
                                                public CConfigReader {
  public:
    // Without a transport it isn't valid. Throws as CConfigReader.
    CCertificateTrustworthinessConfig(IWirelink* wirelink, ConfigUtil* configUtil);
    ~CCertificateTrustworthinessConfig() override;

    bool IsValid() override { return valid; }
    ITrustStore* GetTrustStore() override { return trustStore; }
    void ApplyToServiceClient(IServiceClient* client) override;
    void ApplyToConnection(IConnection* connection) override;

  private:
    // In the order of the domains' characters.
    using CertificatesByDomain = std::map<WideString, std::vector<WideString>>;

    static void ReadDomains(const CMessageObject& domains, CertificatesByDomain& trusted);
    void FillStore(bool enabled, const CertificatesByDomain& trusted) const;

    IWirelink* const wirelink;
    ITrustStore* trustStore = nullptr;
    bool valid = false;
};

}  // namespace orrery
