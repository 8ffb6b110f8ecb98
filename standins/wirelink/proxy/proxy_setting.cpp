#include "standins/wirelink/proxy/proxy_setting.h"

#include "standins/wirelink/base/wide_text.h"

namespace orrery::wirelink {

ProxyValues ValuesOf(const IProxySetting& entry) {
    return {entry.Mode(),
            TextOrEmpty(entry.ProxyList()),
            TextOrEmpty(entry.Username()),
            TextOrEmpty(entry.Password()),
            TextOrEmpty(entry.FurtherText()),
            TextOrEmpty(entry.WPADUrl()),
            entry.WPADAutoDetect(),
            entry.Fallback()};
}

void ProxySetting::Assign(const IProxySetting& entry) {
    values = ValuesOf(entry);
}

bool ProxySetting::Equal(const IProxySetting* entry) const {
    if (!entry || entry->Mode() != values.mode) return false;
    const ProxyValues other = ValuesOf(*entry);
    switch (values.mode) {
        case ProxyExplicit:
            return values.proxyList == other.proxyList && values.username == other.username &&
                   values.password == other.password;
        case ProxyWpad:
            return values.wpadUrl == other.wpadUrl && values.wpadAutoDetect == other.wpadAutoDetect;
        default:
            return true;  // nothing tells two direct connections apart
    }
}

}  // namespace orrery::wirelink
