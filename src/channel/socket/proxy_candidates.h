// Turns the proxy list of the transport into the ways to try for one WebSocket connection, in order. It opens
// no connection; looking up a PAC file can take seconds. Used by the thread that connects.
#pragma once

#include <string>
#include <vector>

#include "contracts/wide_string.h"
#include "contracts/wirelink.h"

namespace orrery {

// One way to reach the server. Texts are UTF-8.
struct ProxyCandidate {
    std::string address;   // the proxy's URI; empty: direct
    std::string username;  // empty: no credentials
    std::string password;

    bool IsDirect() const { return address.empty(); }
};

class ProxyCandidateCollector {
  public:
    // `uri`: the WebSocket URI of the server. `proxyList` may be null and outlives the collector.
    ProxyCandidateCollector(WideString uri, IProxyList* proxyList)
        : uri(std::move(uri)), proxyList(proxyList) {}

    // `candidates` comes empty. It never ends so: where the list gives nothing, one direct candidate.
    void CollectProxyCandidates(std::vector<ProxyCandidate>& candidates) const;

    // A bare host, host:port, scheme://host:port or scheme=host:port. False for no host, for a scheme other
    // than http and https, and for what the library refuses; throws std::invalid_argument for a port that
    // doesn't begin with a number.
    static bool ParseProxyAddress(const std::string& text, std::string& address);

    // Asks the PAC file at `pacUrl`, or at the URL that this network announces if that is empty. False also
    // where the file asks for a direct connection.
    bool ResolveWpadProxy(const WideString& pacUrl, std::string& proxyText) const;

  private:
    class Found;
    void CollectEntry(const IProxySetting& entry, Found& found) const;

    const WideString uri;
    IProxyList* const proxyList;
};

}  // namespace orrery
