// The many forms in which the settings store is read and written, on top of the two that differ from store to
// store: ReadValue and Change. Holds nothing; as safe as those two.
#pragma once

#include <cstdint>

#include "contracts/config_util.h"

namespace orrery::prefstore {

class ConfigFront : public ConfigUtil {
  public:
    uint32_t GetValue(const WideString& key, const WideString** value, uint32_t flags) override;
    uint32_t ReadValueParts(const char16_t* section, const char16_t* group, const char16_t* name,
                            char16_t* buffer, uint32_t* size, uint32_t flags) override;
    uint32_t WriteValue(const WideString& key, const WideString& value, uint32_t flags) override;
    uint32_t WriteValueParts(const char16_t* section, const char16_t* group, const char16_t* name,
                             const char16_t* value, uint32_t flags) override;
    uint32_t DeleteValue(const WideString& key) override;
    void ReleaseValue(const WideString** value) override;
    uint32_t EvaluateInterval(const WideString& text, uint32_t& seconds) override;

  protected:
    // Key and value are well formed; a null value deletes.
    virtual uint32_t Change(const WideString& key, const WideString* value) = 0;

  private:
    uint32_t ChangeChecked(const WideString& key, const WideString* value);
};

}  // namespace orrery::prefstore
