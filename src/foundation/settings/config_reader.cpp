#include "foundation/settings/config_reader.h"

#include "foundation/settings/config_helper.h"
#include "foundation/trace.h"

namespace orrery {

namespace {

bool ReadNotEmpty(ConfigUtil& util, const WideString& key, WideString& out) {
    const WideString* value = nullptr;
    if (util.GetValue(key, &value, 0) != 0) return false;
    const bool found = !value->empty();
    if (found) out = *value;
    util.ReleaseValue(&value);
    return found;
}

}  // namespace

CConfigReader::CConfigReader(ConfigUtil* util) : configUtil(ConfigUtilOrThrow(util, "ConfigUtil")) {}

bool CConfigReader::ReadJson(const WideString& key, CMessageObject& out) const {
    const Trace::Scope trace("CConfigReader::ReadJson");
    WideString value;
    std::string utf8;
    return configUtil->ReadValue(key, value, 0) == 0 && WideToUtf8(value, utf8) && out.Parse(utf8);
}

bool ReadWithDefaults(ConfigUtil* util, const WideString& section, const WideString& group,
                      const WideString& name, WideString& out) {
    if (!util || section.empty() || group.empty() || name.empty()) return false;
    return ReadNotEmpty(*util, section + u"." + group + u"." + name, out) ||
           ReadNotEmpty(*util, section + u".Defaults." + name, out);
}

}  // namespace orrery
