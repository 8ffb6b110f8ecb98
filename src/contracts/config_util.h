// The settings store, Prefstore.dll. Keys are `<section>.<group>.<name>`; values are text.
//
// All results: 0 is success, anything else is a code of platform/error_codes.h and means that nothing was
// delivered and nothing changed. `flags` is always 0. Every operation may be called from several threads at
// once, also from within a notification. Reads are answered from memory; a write waits for the file. Keys
// compare without regard to the case of ASCII letters; one that hasn't three parts is refused.
#pragma once

#include <cstdint>

#include "contracts/wide_string.h"

namespace orrery {

class IConfigChangeObserver {
  public:
    virtual ~IConfigChangeObserver() = default;
    // On the store's notifying thread, one call at a time and with no lock of the store held; a call that
    // takes long keeps other observers waiting. value1 is the value before, value2 the value after; a key
    // that is not set has the empty text. The texts are the store's and go with the return. Nothing may be
    // thrown.
    virtual void OnConfigChange(const char16_t* section, const char16_t* group, const char16_t* name,
                                const char16_t* value1, const char16_t* value2) = 0;
};

class ConfigUtil {
  public:
    virtual ~ConfigUtil() = default;
    // On 0 `*value` is a copy that the store made for the caller, who owes it to ReleaseValue; otherwise it
    // is left as it was and nothing is owed.
    virtual uint32_t GetValue(const WideString& key, const WideString** value, uint32_t flags) = 0;
    // On 0 `value` is replaced, otherwise left as it was.
    virtual uint32_t ReadValue(const WideString& key, WideString& value, uint32_t flags) = 0;
    // `size`: in, the characters that `buffer` holds, terminator included; out, the length of the value
    // without it. A value that doesn't fit is a failure that leaves the buffer alone.
    virtual uint32_t ReadValueParts(const char16_t* section, const char16_t* group, const char16_t* name,
                                    char16_t* buffer, uint32_t* size, uint32_t flags) = 0;
    // On 0 the value is stored and outlives the process, however that ends. It is on disk with a clean end,
    // or moments later: a power cut may cost the last writes, never an older one before them.
    virtual uint32_t WriteValue(const WideString& key, const WideString& value, uint32_t flags) = 0;
    // As WriteValue, for the key of the three parts. Of both, the observers of the section are told
    // afterwards; they may hear of a write that changed nothing as well.
    virtual uint32_t WriteValueParts(const char16_t* section, const char16_t* group, const char16_t* name,
                                     const char16_t* value, uint32_t flags) = 0;
    // On 0 the key isn't set, which it need not have been before; lasting as a write is.
    virtual uint32_t DeleteValue(const WideString& key) = 0;
    // Frees what GetValue gave and clears the caller's pointer; null is let pass.
    virtual void ReleaseValue(const WideString** value) = 0;
    // Tells the observer of every change of the section that comes after this, until Unsubscribe, which the
    // observer has to outlive. A second subscription of the same pair changes nothing.
    virtual uint32_t Subscribe(const char16_t* section, IConfigChangeObserver* observer) = 0;
    // No notification comes after the return: it waits for one in flight, unless it is called from it. So
    // the caller holds no lock that OnConfigChange takes.
    virtual uint32_t Unsubscribe(const char16_t* section, IConfigChangeObserver* observer) = 0;
    // Interval texts: `N`, `N` with s, m, h or d, `rand(a,b)` (drawn anew at each call, both bounds
    // included). Anything else fails and leaves `seconds` alone.
    virtual uint32_t EvaluateInterval(const WideString& text, uint32_t& seconds) = 0;
};

// Exported as "GetUtil": the one store of the process, or null. Nobody gives it back.
using GetUtilFunction = ConfigUtil* (*)();

}  // namespace orrery
