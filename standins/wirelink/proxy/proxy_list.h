// The ordered list of ways to reach a server. It keeps the order of adding, removes no duplicates and tries
// nothing itself. One thread at a time.
#pragma once

#include <memory>
#include <vector>

#include "contracts/wirelink.h"
#include "standins/wirelink/proxy/proxy_setting.h"

namespace orrery::wirelink {

class ProxyList final : public IProxyList {
  public:
    bool AddDirect(bool fallback) override;
    // A list text that names no proxy is kept as it is: it is for the reader to skip.
    bool AddExplicit(const char16_t* proxyList, const char16_t* username, const char16_t* password,
                     const char16_t* furtherText, bool fallback) override;
    bool AddPacUrl(const char16_t* pacUrl, const char16_t* text1, const char16_t* text2,
                   const char16_t* username, const char16_t* password, bool fallback) override;
    // Reads the environment now, not when the list is used. May append more than one entry.
    bool AddSystem(int32_t kind, bool fallback) override;
    bool BeginEnumeration() override;
    IProxySetting* NextEntry() override;
    void EndEnumeration() override;
    bool AddEntry(IProxySetting* entry) override;

  private:
    bool Append(ProxyValues values);

    std::vector<std::unique_ptr<IProxySetting>> entries;
    size_t next = 0;  // of the enumeration
};

}  // namespace orrery::wirelink
