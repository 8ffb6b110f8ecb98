// Reading settings: the base of the classes that do, and the read that falls back on the group `Defaults`.
// No state beyond the store's pointer; as safe as the store.
#pragma once

#include "contracts/config_util.h"
#include "foundation/json/message_object.h"

namespace orrery {

class CConfigReader {
  public:
    // A null `util` is replaced by the process's store. Throws std::invalid_argument("ConfigUtil") if there
    // is none.
    explicit CConfigReader(ConfigUtil* util);
    virtual ~CConfigReader() = default;
    CConfigReader(const CConfigReader&) = delete;
    CConfigReader& operator=(const CConfigReader&) = delete;

    // A setting that holds a JSON document. False leaves `out` alone.
    bool ReadJson(const WideString& key, CMessageObject& out) const;

  protected:
    ConfigUtil* const configUtil;
};

// `<section>.<group>.<name>`, or `<section>.Defaults.<name>` where that is missing or empty. `out` is touched
// only when true is returned, and is then not empty.
bool ReadWithDefaults(ConfigUtil* util, const WideString& section, const WideString& group,
                      const WideString& name, WideString& out);

}  // namespace orrery
