#include "platform/os_version.h"

#include <algorithm>
#include <atomic>
#include <iterator>

#include "platform/text.h"

namespace orrery::platform {

namespace {

bool Holds(const VersionTest::Field& field, uint32_t actual) {
    switch (field.condition) {
        case Exactly:
            return actual == field.value;
        case AtLeast:
            return actual >= field.value;
        case Above:
            return actual > field.value;
        default:
            return true;
    }
}

// A current workstation of the platform whose questions these are.
class Workstation final : public OsVersion {
  public:
    bool VerifyVersion(const VersionTest& test) override {
        return Holds(test.major, majorVersion) && Holds(test.minor, minorVersion) &&
               Holds(test.servicePack, 0) && Holds(test.platformId, platformNt) &&
               Holds(test.productType, productWorkstation) && test.suiteMask == 0;
    }
    uint16_t NativeArchitecture() override { return isArm ? Arm64 : Amd64; }
    bool NativeMachine(uint16_t& machine) override {
        machine = isArm ? 0xAA64 : 0x8664;
        return true;
    }
    bool Metric(int32_t) override { return false; }
    bool ProductInfo(uint32_t, uint32_t, uint32_t, uint32_t&) override { return false; }
    bool RegistryText(const WideString& key, const WideString& name, WideString& value) override {
        return Find(texts, key, name, value);
    }
    bool RegistryNumber(const WideString& key, const WideString& name, uint32_t& value) override {
        return Find(numbers, key, name, value);
    }

  private:
    template <class Kind>
    struct Entry {
        WideView name;
        Kind value;
    };

    template <class Entries, class Kind>
    static bool Find(const Entries& entries, WideView key, WideView name, Kind& value) {
        if (!EqualNoCase(key, u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion")) return false;
        const auto entry = std::find_if(std::begin(entries), std::end(entries),
                                        [name](const auto& one) { return EqualNoCase(one.name, name); });
        if (entry == std::end(entries)) return false;
        value = entry->value;
        return true;
    }

    static constexpr uint32_t majorVersion = 10;
    static constexpr uint32_t minorVersion = 0;
    static constexpr uint32_t platformNt = 2;
    static constexpr uint32_t productWorkstation = 1;
#if defined(__aarch64__)
    static constexpr bool isArm = true;
#else
    static constexpr bool isArm = false;
#endif

    static constexpr Entry<WideView> texts[] = {
        {u"CurrentBuildNumber", u"22631"},
        {u"DisplayVersion", u"23H2"},
        {u"ProductName", u"Workstation"},
    };
    static constexpr Entry<uint32_t> numbers[] = {
        {u"CurrentMajorVersionNumber", majorVersion},
        {u"CurrentMinorVersionNumber", minorVersion},
        {u"UBR", 3447},
    };
};

Workstation workstation;
std::atomic<OsVersion*> current{&workstation};

}  // namespace

OsVersion& SystemOsVersion() {
    return *current.load();
}

void SetOsVersion(OsVersion* version) {
    current = version ? version : &workstation;
}

}  // namespace orrery::platform
