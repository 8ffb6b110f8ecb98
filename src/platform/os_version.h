// The questions that the identity of the operating system asks of the platform.
#pragma once

#include <cstdint>

#include "contracts/wide_string.h"

namespace orrery::platform {

enum VersionCondition : uint8_t { AnyVersion = 0, Exactly, AtLeast, Above };

// One version test: every field with a condition must hold.
struct VersionTest {
    struct Field {
        uint32_t value = 0;
        VersionCondition condition = AnyVersion;
    };
    Field major;
    Field minor;
    Field servicePack;
    Field platformId;
    Field productType;
    uint32_t suiteMask = 0;  // 0: not asked; otherwise all of these bits are set
};

enum ProcessorArchitecture : uint16_t {
    IntelX86 = 0,
    Itanium = 6,
    Amd64 = 9,
    Arm64 = 12,
    UnknownCpu = 0xFFFF
};

class OsVersion {
  public:
    virtual ~OsVersion() = default;
    virtual bool VerifyVersion(const VersionTest& test) = 0;
    virtual uint16_t NativeArchitecture() = 0;          // ProcessorArchitecture
    virtual bool NativeMachine(uint16_t& machine) = 0;  // false: the system can't tell
    virtual bool Metric(int32_t index) = 0;
    virtual bool ProductInfo(uint32_t major, uint32_t minor, uint32_t servicePack, uint32_t& type) = 0;
    // Of the local machine. False if the value is missing or of the other kind; `value` is then untouched.
    virtual bool RegistryText(const WideString& key, const WideString& name, WideString& value) = 0;
    virtual bool RegistryNumber(const WideString& key, const WideString& name, uint32_t& value) = 0;
};

// The running system. On Linux it answers as a current workstation, so that all of the module works.
OsVersion& SystemOsVersion();
// Puts `version` in its place, null puts it back: for tests, before the identity is first asked.
void SetOsVersion(OsVersion* version);

}  // namespace orrery::platform
