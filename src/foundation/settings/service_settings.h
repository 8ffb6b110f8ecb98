// The settings of one service, `Services.<service>.<name>`, each with its fall-back to the group `Defaults`.
// Every accessor reads anew and gives the empty text where nothing is set.
#pragma once

#include "contracts/config_util.h"

namespace orrery {

class CServiceSettings {
  public:
    // Throws std::invalid_argument("configUtil is nullptr") for a null `util`.
    CServiceSettings(ConfigUtil* util, WideString service);

    WideString Hostname() const { return Read(u"Hostname"); }
    WideString Product() const { return Read(u"Product"); }
    WideString ProductVersion() const { return Read(u"ProductVersion"); }
    WideString DeviceId() const { return Read(u"DeviceId"); }
    WideString SiteId() const { return Read(u"SiteId"); }
    WideString Type() const { return Read(u"Type"); }
    WideString Service() const { return Read(u"Service"); }
    WideString Container() const { return Read(u"Container"); }
    WideString UserAgent() const { return Read(u"User-Agent"); }
    WideString PathPrefix() const { return Read(u"PathPrefix"); }

  private:
    WideString Read(const char16_t* name) const;

    ConfigUtil* const configUtil;
    const WideString service;
};

}  // namespace orrery
