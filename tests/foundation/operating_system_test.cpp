#include "foundation/system/operating_system.h"

#include <gtest/gtest.h>

#include <map>

#include "platform/os_version.h"
#include "platform/text.h"

namespace orrery {
namespace {

// A system that answers from its fields. It stands in the running one's place for as long as it lives.
struct FakeSystem final : platform::OsVersion {
    FakeSystem() { platform::SetOsVersion(this); }
    ~FakeSystem() override { platform::SetOsVersion(nullptr); }

    bool VerifyVersion(const platform::VersionTest& test) override {
        if (test.platformId.condition) return isNt;
        if (test.productType.condition) return test.productType.value == 1 && !isServer;
        if (test.suiteMask != 0) return test.suiteMask == 0x200;
        if (test.servicePack.condition == platform::Above)
            return isAboveTen && test.major.value == 10 && test.servicePack.value == 32767;
        if (test.servicePack.condition == platform::Exactly) return test.servicePack.value == servicePack;
        return test.major.value == major && test.minor.value == minor;
    }
    uint16_t NativeArchitecture() override { return architecture; }
    bool NativeMachine(uint16_t& out) override {
        if (machine != 0) out = machine;
        return machine != 0;
    }
    bool Metric(int32_t index) override { return index == metric; }
    bool ProductInfo(uint32_t, uint32_t, uint32_t, uint32_t& type) override {
        type = productType;
        return true;
    }
    bool RegistryText(const WideString&, const WideString& name, WideString& value) override {
        if (texts.contains(name)) value = texts[name];
        return texts.contains(name);
    }
    bool RegistryNumber(const WideString&, const WideString& name, uint32_t& value) override {
        if (numbers.contains(name)) value = numbers[name];
        return numbers.contains(name);
    }

    bool isNt = true, isServer = false, isAboveTen = false;
    uint32_t major = 10, minor = 0, servicePack = 0, productType = 0;
    uint16_t architecture = platform::Amd64, machine = 0;
    int32_t metric = 0;
    std::map<WideString, WideString> texts;
    std::map<WideString, uint32_t> numbers;
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
        {5, 1, workstation, u"2600", 0, 1},
        {5, 2, workstation, u"3790", 0, 1},
        {5, 2, server, u"3790", 0, 2},
        {6, 0, workstation, u"6002", 0, 3},
        {6, 0, server, u"6002", 0, 4},
        {6, 1, workstation, u"7601", 0, 5},
        {6, 1, server, u"7601", 0, 6},
        {6, 2, workstation, u"9200", 0, 7},
        {6, 2, server, u"9200", 0, 8},
        {6, 3, workstation, u"9600", 0, 9},
        {6, 3, server, u"9600", 0, 10},
        {10, 0, workstation, u"21999", 0, 11},
        {10, 0, workstation, u"22000", 0, 14},
        {10, 0, server, u"17757", 0, 12},
        {10, 0, server, u"17758", 0, 13},
        {10, 0, server, u"20347", 0, 13},
        {10, 0, server, u"20348", 0, 15},
        {10, 0, server, u"26099", 0, 15},
        {10, 0, server, u"26100", 0, 16},
        {10, 0, server, u"17757", multiSession, 12},
        {10, 0, server, u"17758", multiSession, 11},
        {10, 0, server, u"20348", multiSession, 14},
        {10, 0, server, u"26100", multiSession, 14},
    };
    for (const auto& one : cases) {
        FakeSystem system;
        system.major = one.major;
        system.minor = one.minor;
        system.isServer = one.isServer;
        system.productType = one.productType;
        system.texts[u"CurrentBuildNumber"] = one.build;
        const COperatingSystem known;
        SCOPED_TRACE(std::to_string(one.major) + "." + std::to_string(one.minor) + " " + ToUtf8(one.build));
        EXPECT_EQ(known.family(), one.family);
        EXPECT_EQ(known.Info().isServer, one.isServer && (one.productType == 0 || one.family == 12));
    }
}

TEST(OperatingSystem, LaterVersionsAreOfOneFamilyAndOtherPlatformsOfNone) {
    FakeSystem system;
    system.isAboveTen = true;
    system.major = 11;
    system.minor = 2;
    EXPECT_TRUE(COperatingSystem().family() == 1000 && COperatingSystem().Info().major == 11);
    const COperatingSystem kept;
    system.isNt = false;
    EXPECT_EQ(COperatingSystem().family(), 1000) << "worked out once while anyone holds it";
    EXPECT_EQ(kept.Info().minor, 2U);
}

TEST(OperatingSystem, FullNameTellsArchitectureAndVersion) {
    const struct {
        const char16_t* name;
        uint16_t architecture, machine;
        std::map<WideString, WideString> texts;
    } cases[] = {
        {u"P Version 24H2", platform::IntelX86, 0, {{u"DisplayVersion", u"24H2"}, {u"ReleaseId", u"2009"}}},
        {u"P 64 bits Version 1909", platform::Amd64, 0, {{u"ReleaseId", u"1909"}, {u"CSDVersion", u"S P 3"}}},
        {u"P 64 bits Service Pack 3", platform::Itanium, 0, {{u"CSDVersion", u"Service Pack 3"}}},
        {u"P ARM 64 Version 0", platform::Arm64, 0, {}},
        {u"P ARM 64 Version 0", platform::Amd64, 0xAA64, {}},
        {u"P 64 bits Version 0", platform::IntelX86, 0x8664, {}},
        {u"P Version 0", platform::Amd64, 0x14C, {}},
        {u"P Version 0", platform::UnknownCpu, 0, {}},
        {u"X 11 Y 64 bits Version 0",
         platform::Amd64,
         0,
         {{u"ProductName", u"X 10 Y"}, {u"CurrentBuildNumber", u"22000"}}},
        {u"X 10 Y 64 bits Version 0", platform::Amd64, 0, {{u"ProductName", u"X 10 Y"}}},
    };
    for (const auto& one : cases) {
        FakeSystem system;
        system.architecture = one.architecture;
        system.machine = one.machine;
        system.texts = one.texts;
        system.texts.emplace(u"ProductName", u"P");
        EXPECT_EQ(ToUtf8(COperatingSystem().Info().fullName), ToUtf8(one.name));
    }
}

TEST(OperatingSystem, ServersAndWorkstationsTellTheirKind) {
    FakeSystem system;
    system.metric = 87;
    EXPECT_TRUE(COperatingSystem().Info().isMediaCenter && !COperatingSystem().Info().isTabletPc &&
                COperatingSystem().Info().isPersonal);
    system.isServer = true;
    EXPECT_FALSE(COperatingSystem().Info().isCore || COperatingSystem().Info().isPersonal);
    system.numbers = {{u"NanoServer", 1}, {u"ServerCore", 2}};
    EXPECT_TRUE(COperatingSystem().Info().isCore && !COperatingSystem().Info().isServerCore);
    system.numbers[u"Server-Gui-Shell"] = 1;
    EXPECT_FALSE(COperatingSystem().Info().isCore);
    system.major = 6;
    system.minor = 1;
    system.servicePack = 5;
    EXPECT_EQ(COperatingSystem().Info().servicePack, 5) << "found by the version test";
}

}  // namespace
}  // namespace orrery
