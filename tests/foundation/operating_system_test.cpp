#include "foundation/system/operating_system.h"

#include <gtest/gtest.h>

#include "platform/os_version.h"
#include "platform/text.h"

namespace orrery {
namespace {

// A system that answers from its fields. It stands in the running one's place for as long as it lives.
struct FakeSystem final : platform::OsVersion {
    FakeSystem() { platform::SetOsVersion(this); }
    ~FakeSystem() override { platform::SetOsVersion(nullptr); }

    bool VerifyVersion(const platform::VersionTest& test) override {
        if (test.platformId.condition) return true;
        if (test.productType.condition) return test.productType.value == 1 && !isServer;
        if (test.suiteMask != 0) return test.suiteMask == 0x200;
        if (test.servicePack.condition == platform::Above)
            return major > 10 && test.major.value == 10 && test.servicePack.value == 32767;
        if (test.servicePack.condition == platform::Exactly) return test.servicePack.value == 0;
        return test.major.value == major && test.minor.value == minor;
    }
    uint16_t NativeArchitecture() override { return platform::Amd64; }
    bool NativeMachine(uint16_t&) override { return false; }
    bool Metric(int32_t) override { return false; }
    bool ProductInfo(uint32_t, uint32_t, uint32_t, uint32_t& type) override {
        type = productType;
        return true;
    }
    bool RegistryText(const WideString&, const WideString& name, WideString& value) override {
        value = build;
        return name == u"CurrentBuildNumber";
    }
    bool RegistryNumber(const WideString&, const WideString&, uint32_t&) override { return false; }

    bool isServer = false;
    uint32_t major = 10, minor = 0, productType = 0;
    WideString build;
};

TEST(OperatingSystem, FamilyFollowsVersionKindAndBuild) {
    constexpr bool server = true, workstation = false;
    constexpr uint32_t multiSession = 175;
    const struct {
        uint32_t major, minor;
        bool isServer;
        const char16_t* build;
        uint32_t productType;
        int32_t family;
    } cases[] = {
        {5, 0, workstation, u"2195", 0, 0},
        {5, 2, workstation, u"3790", 0, 1},
        {5, 2, server, u"3790", 0, 2},
        {6, 0, workstation, u"6002", 0, 3},
        {6, 1, server, u"7601", 0, 6},
        {6, 3, workstation, u"9600", 0, 9},
        {6, 3, server, u"9600", 0, 10},
        {10, 0, workstation, u"21999", 0, 11},
        {10, 0, workstation, u"22000", 0, 14},
        {10, 0, server, u"17757", 0, 12},
        {10, 0, server, u"17758", 0, 13},
        {10, 0, server, u"20347", 0, 13},
        {10, 0, server, u"20348", 0, 15},
        {10, 0, server, u"26100", 0, 16},
        {10, 0, server, u"17757", multiSession, 12},
        {10, 0, server, u"17758", multiSession, 11},
        {10, 0, server, u"20348", multiSession, 14},
        {11, 2, workstation, u"30000", 0, 1000},
    };
    for (const auto& one : cases) {
        FakeSystem system;
        system.major = one.major;
        system.minor = one.minor;
        system.isServer = one.isServer;
        system.productType = one.productType;
        system.build = one.build;
        const COperatingSystem known;
        EXPECT_EQ(known.family(), one.family) << ToUtf8(one.build);
        EXPECT_EQ(known.Info().isServer, one.isServer && (one.productType == 0 || one.family == 12));
    }
}

}  // namespace
}  // namespace orrery
