// An operating system as a test describes it.
#pragma once

#include <map>

#include "platform/os_version.h"

namespace orrery::test {

struct Machine {
    uint32_t major, minor;
    bool isServer;
    WideString build;
    uint32_t productType;
    int32_t family;
};

// A system that answers as this machine. It stands in the running one's place for as long as it lives.
struct FakeSystem final : platform::OsVersion {
    explicit FakeSystem(const Machine& machine) : machine(machine) { platform::SetOsVersion(this); }
    ~FakeSystem() override { platform::SetOsVersion(nullptr); }

    bool VerifyVersion(const platform::VersionTest& test) override {
        if (test.platformId.condition) return true;
        if (test.productType.condition) return test.productType.value == 1 && !machine.isServer;
        if (test.servicePack.condition == platform::Above)
            return machine.major > 10 && test.major.value == 10 && test.servicePack.value == 32767;
        return test.major.value == machine.major && test.minor.value == machine.minor;
    }
    uint16_t NativeArchitecture() override { return platform::Amd64; }
    bool NativeMachine(uint16_t&) override { return false; }
    bool Metric(int32_t) override { return false; }
    bool ProductInfo(uint32_t, uint32_t, uint32_t, uint32_t& type) override {
        type = machine.productType;
        return true;
    }
    bool RegistryText(const WideString&, const WideString& name, WideString& value) override {
        const std::map<WideString, WideString> texts = {{u"CurrentBuildNumber", machine.build},
                                                        {u"ProductName", u"System 10 Pro"},
                                                        {u"DisplayVersion", u"22H2"}};
        const auto found = texts.find(name);
        if (found != texts.end()) value = found->second;
        return found != texts.end();
    }
    bool RegistryNumber(const WideString&, const WideString&, uint32_t&) override { return false; }

    const Machine& machine;
};

}  // namespace orrery::test
