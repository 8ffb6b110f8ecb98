// Which generation of the operating system this is. The facts are worked out once, when the first
// COperatingSystem of the process is made, and shared until the last one goes. Safe from any thread.
#pragma once

#include <cstdint>

#include "contracts/wide_string.h"

namespace orrery {

struct OsInfo {
    int32_t family = 0;         // see operating_system.cpp; 0: not recognised
    int32_t edition = 0;        // not worked out: nothing here depends on it
    uint32_t architecture = 0;  // 0 unknown, 1 32-bit, 2 64-bit, 3 ARM 64
    bool isNt = false;
    bool isServer = false;
    bool isPersonal = false;
    bool isStarter = false;
    bool isMediaCenter = false;
    bool isTabletPc = false;
    bool isCore = false;
    uint16_t servicePack = 0;
    uint16_t releaseId = 0;
    WideString displayVersion;
    WideString productName;
    WideString fullName;
    uint32_t nativeArchitecture = 0;  // 0 unknown, 1 x86, 2 AMD64, 3 Itanium, 4 ARM64
    uint32_t major = 0;
    uint32_t minor = 0;
    uint32_t build = 0;
    uint32_t revision = 0;
    uint32_t productType = 0;
    bool hasGuiShell = false;
    bool hasGuiManagement = false;
    bool isServerCore = false;
    bool isNanoServer = false;
};

class IOperatingSystem {
  public:
    virtual ~IOperatingSystem() = default;
    virtual void Fill(OsInfo& info) = 0;
};

class CWindowsOperatingSystem : public IOperatingSystem {
  public:
    void Fill(OsInfo& info) override;
};

class CLinuxOperatingSystem : public IOperatingSystem {
  public:
    void Fill(OsInfo&) override {}
};

class CMacOperatingSystem : public IOperatingSystem {
  public:
    void Fill(OsInfo&) override {}
};

class COperatingSystem final : public CWindowsOperatingSystem,
                               public CLinuxOperatingSystem,
                               public CMacOperatingSystem {
  public:
    COperatingSystem();
    ~COperatingSystem() override;
    COperatingSystem(const COperatingSystem&) = delete;
    COperatingSystem& operator=(const COperatingSystem&) = delete;

    // Whichever side is asked, the platform layer answers as one system.
    void Fill(OsInfo& facts) override { CWindowsOperatingSystem::Fill(facts); }

    int32_t family() const { return Info().family; }
    // Only read once it is filled; valid while this object lives.
    const OsInfo& Info() const { return *info; }

  private:
    const OsInfo* info;
};

}  // namespace orrery
