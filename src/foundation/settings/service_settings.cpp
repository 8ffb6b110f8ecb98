#include "foundation/settings/service_settings.h"

#include <stdexcept>

#include "foundation/settings/config_reader.h"

namespace orrery {

CServiceSettings::CServiceSettings(ConfigUtil* util, WideString service)
    : configUtil(util), service(std::move(service)) {
    if (!util) throw std::invalid_argument("configUtil is nullptr");
}

WideString CServiceSettings::Read(const char16_t* name) const {
    WideString value;
    ReadWithDefaults(configUtil, u"Services", service, name, value);
    return value;
}

}  // namespace orrery
