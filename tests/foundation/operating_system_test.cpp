#include "foundation/operating_system.h"

#include <gtest/gtest.h>

#include "foundation/numbers.h"
#include "platform/os_version.h"

namespace orrery::platform {
namespace {

// A system as its version test and its registry show it.
struct FakeSystem final : OsVersion {
    bool VerifyVersion(const VersionTest& test) override {
        if (test.major.condition == AtLeast || test.suiteMask != 0) return false;
        if (test.productType.condition == Exactly) return !isServer;
        return test.major.condition == AnyVersion || (test.major.value == major && test.minor.value == minor);
    }
    uint16_t NativeArchitecture() override { return Amd64; }
    bool NativeMachine(uint16_t&) override { return false; }
    bool Metric(int32_t) override { return false; }
    bool ProductInfo(uint32_t, uint32_t, uint32_t, uint32_t& type) override {
        type = productType;
        return true;
    }
    bool RegistryText(const WideString&, const WideString& name, WideString& value) override {
        value = name == u"CurrentBuildNumber" ? DecimalText(uint64_t{build}) : u"System 10 Pro";
        return name == u"CurrentBuildNumber" || name == u"ProductName";
    }
    bool RegistryNumber(const WideString&, const WideString&, uint32_t&) override { return false; }

    uint32_t major, minor, isServer, build, productType;
};

TEST(OperatingSystem, FamilyFollowsVersionKindAndBuild) {
    // version, whether it says that it is a server, build, product type; family, whether it is a server
    const uint32_t cases[][7] = {
        {5, 2, 0, 3790, 0, 1, 0},      {5, 2, 1, 3790, 0, 2, 1},      {6, 0, 0, 6002, 0, 3, 0},
        {6, 2, 1, 9200, 0, 8, 1},      {6, 3, 0, 9600, 0, 9, 0},      {10, 0, 0, 21999, 0, 11, 0},
        {10, 0, 1, 17757, 0, 12, 1},   {10, 0, 1, 17758, 0, 13, 1},   {10, 0, 1, 20347, 0, 13, 1},
        {10, 0, 1, 20348, 0, 15, 1},   {10, 0, 1, 26100, 0, 16, 1},   {10, 0, 1, 26100, 175, 14, 0},
        {10, 0, 1, 17763, 175, 11, 0}, {10, 0, 1, 14393, 175, 12, 1}, {4, 0, 0, 1381, 0, 0, 0},
        {10, 0, 0, 22000, 0, 14, 0},
    };
    for (const auto& [major, minor, saysServer, build, productType, family, isServer] : cases) {
        FakeSystem system;
        system.major = major;
        system.minor = minor;
        system.isServer = saysServer;
        system.build = build;
        system.productType = productType;
        SetOsVersion(&system);
        const COperatingSystem identity;
        SetOsVersion(nullptr);
        EXPECT_EQ(identity.family(), static_cast<int32_t>(family)) << build;
        EXPECT_EQ(identity.Info().isServer, isServer != 0) << build;
        EXPECT_EQ(COperatingSystem().Info().fullName.starts_with(u"System 11 Pro 64 bits"), family == 14)
            << build;
    }
}

}  // namespace
}  // namespace orrery::platform
