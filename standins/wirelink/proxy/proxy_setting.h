// One entry of a proxy list: plain values, which it neither reads nor checks. One thread at a time.
#pragma once

#include <cstdint>
#include <utility>

#include "contracts/wide_string.h"
#include "contracts/wirelink.h"

namespace orrery::wirelink {

struct ProxyValues {
    int32_t mode = ProxyDirect;
    WideString proxyList{};
    WideString username{};
    WideString password{};
    WideString furtherText{};
    WideString wpadUrl{};
    bool wpadAutoDetect = false;
    bool fallback = false;

    bool operator==(const ProxyValues&) const = default;
};

class ProxySetting final : public IProxySetting {
  public:
    explicit ProxySetting(ProxyValues values = {}) : values(std::move(values)) {}

    // For an entry that a caller made to be filled in. The texts handed out before are gone.
    void Assign(const IProxySetting& entry);

    int32_t Mode() const override { return values.mode; }
    const char16_t* ProxyList() const override { return values.proxyList.c_str(); }
    const char16_t* Username() const override { return values.username.c_str(); }
    const char16_t* Password() const override { return values.password.c_str(); }
    const char16_t* WPADUrl() const override { return values.wpadUrl.c_str(); }
    const char16_t* FurtherText() const override { return values.furtherText.c_str(); }
    bool WPADAutoDetect() const override { return values.wpadAutoDetect; }
    bool Fallback() const override { return values.fallback; }
    // Compares the mode and what the mode uses. A null entry equals none.
    bool Equal(const IProxySetting* entry) const override;

  private:
    ProxyValues values;
};

ProxyValues ValuesOf(const IProxySetting& entry);

}  // namespace orrery::wirelink
