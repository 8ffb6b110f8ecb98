#include "standins/prefstore/config_front.h"

#include <algorithm>
#include <utility>

#include "platform/error_codes.h"
#include "standins/prefstore/interval.h"
#include "standins/prefstore/setting_key.h"

namespace orrery::prefstore {

uint32_t ConfigFront::GetValue(const WideString& key, const WideString** value, uint32_t flags) {
    if (value == nullptr) return InvalidParameter;
    WideString read;
    const uint32_t result = ReadValue(key, read, flags);
    if (result == Success) *value = new WideString(std::move(read));
    return result;
}

uint32_t ConfigFront::ReadValueParts(const char16_t* section, const char16_t* group, const char16_t* name,
                                     char16_t* buffer, uint32_t* size, uint32_t flags) {
    const auto key = JoinKey(section, group, name);
    if (!key || buffer == nullptr || size == nullptr) return InvalidParameter;
    WideString value;
    const uint32_t result = ReadValue(*key, value, flags);
    if (result != Success) return result;
    const uint32_t capacity = std::exchange(*size, static_cast<uint32_t>(value.size()));
    if (value.size() >= capacity) return NotEnoughMemory;
    std::copy_n(value.c_str(), value.size() + 1, buffer);
    return Success;
}

uint32_t ConfigFront::WriteValue(const WideString& key, const WideString& value, uint32_t) {
    return ChangeChecked(key, &value);
}

uint32_t ConfigFront::WriteValueParts(const char16_t* section, const char16_t* group, const char16_t* name,
                                      const char16_t* value, uint32_t flags) {
    const auto key = JoinKey(section, group, name);
    if (!key || value == nullptr) return InvalidParameter;
    return WriteValue(*key, value, flags);
}

uint32_t ConfigFront::DeleteValue(const WideString& key) {
    return ChangeChecked(key, nullptr);
}

void ConfigFront::ReleaseValue(const WideString** value) {
    if (value == nullptr) return;
    delete *value;
    *value = nullptr;
}

uint32_t ConfigFront::EvaluateInterval(const WideString& text, uint32_t& seconds) {
    return prefstore::EvaluateInterval(text, seconds);
}

uint32_t ConfigFront::ChangeChecked(const WideString& key, const WideString* value) {
    if (!SplitKey(key)) return InvalidParameter;
    if (value != nullptr && value->find(u'\0') != WideString::npos) return InvalidParameter;
    return Change(key, value);
}

}  // namespace orrery::prefstore
