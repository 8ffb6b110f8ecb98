#include "foundation/system/operating_system.h"

#include <memory>

#include "foundation/text/numbers.h"
#include "platform/mutex.h"
#include "platform/os_version.h"

namespace orrery {

namespace {

using platform::Above;
using platform::AtLeast;
using platform::Exactly;
using platform::OsVersion;
using platform::VersionTest;

constexpr char16_t versionKey[] = u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";
constexpr char16_t serverLevelsKey[] =
    u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Server\\ServerLevels";

Mutex infoLock;
std::unique_ptr<OsInfo> sharedInfo GUARDED_BY(infoLock);
uint32_t infoUsers GUARDED_BY(infoLock) = 0;

bool IsExactly(OsVersion& system, uint32_t major, uint32_t minor) {
    VersionTest test;
    test.major = {major, Exactly};
    test.minor = {minor, Exactly};
    return system.VerifyVersion(test);
}

bool IsNt(OsVersion& system) {
    VersionTest test;
    test.platformId = {2, Exactly};
    return system.VerifyVersion(test);
}

uint32_t NativeArchitecture(OsVersion& system) {
    switch (system.NativeArchitecture()) {
        case platform::IntelX86:
            return 1;
        case platform::Amd64:
            return 2;
        case platform::Itanium:
            return 3;
        case platform::Arm64:
            return 4;
        default:
            return 0;
    }
}

void FillArchitecture(OsVersion& system, OsInfo& info) {
    info.nativeArchitecture = NativeArchitecture(system);
    uint16_t machine = 0;
    if (system.NativeMachine(machine)) {
        if (machine == 0x14C) info.architecture = 1;
        if (machine == 0x8664 || machine == 0x200) info.architecture = 2;
        if (machine == 0xAA64) info.architecture = 3;
        if (info.architecture == 3 && info.nativeArchitecture == 2) info.nativeArchitecture = 4;
    }
    constexpr uint32_t fromNative[] = {0, 1, 2, 2, 3};
    if (info.architecture == 0) info.architecture = fromNative[info.nativeArchitecture];
}

bool ServerLevel(OsVersion& system, const char16_t* name) {
    uint32_t value = 0;
    return system.RegistryNumber(serverLevelsKey, name, value) && value == 1;
}

void FillProductKind(OsVersion& system, OsInfo& info) {
    VersionTest workstation;
    workstation.productType = {1, Exactly};
    info.isServer = !system.VerifyVersion(workstation);
    if (info.isServer) {
        info.hasGuiShell = ServerLevel(system, u"Server-Gui-Shell");
        info.hasGuiManagement = ServerLevel(system, u"Server-Gui-Mgmt");
        info.isServerCore = ServerLevel(system, u"ServerCore");
        info.isNanoServer = ServerLevel(system, u"NanoServer");
        info.isCore = !info.hasGuiShell && (info.hasGuiManagement || info.isServerCore || info.isNanoServer);
        return;
    }
    VersionTest personal;
    personal.suiteMask = 0x200;
    info.isPersonal = system.VerifyVersion(personal);
    info.isStarter = system.Metric(88);
    info.isMediaCenter = system.Metric(87);
    info.isTabletPc = system.Metric(86);
}

uint32_t Number(WideView text) {
    return static_cast<uint32_t>(LeadingInt32(text));
}

WideView Behind(WideView text, char16_t separator) {
    const size_t at = text.find(separator);
    return at == WideView::npos ? WideView() : text.substr(at + 1);
}

void FillVersionNumbers(OsVersion& system, OsInfo& info) {
    uint32_t major = 0;
    uint32_t minor = 0;
    WideString text;
    if (system.RegistryNumber(versionKey, u"CurrentMajorVersionNumber", major) &&
        system.RegistryNumber(versionKey, u"CurrentMinorVersionNumber", minor)) {
        info.major = major;
        info.minor = minor;
    } else if (system.RegistryText(versionKey, u"CurrentVersion", text)) {
        info.major = Number(text);
        info.minor = Number(Behind(text, u'.'));
    }
    if (system.RegistryText(versionKey, u"CurrentBuildNumber", text)) info.build = Number(text);
    system.RegistryNumber(versionKey, u"UBR", info.revision);
}

void FillNames(OsVersion& system, OsInfo& info) {
    WideString text;
    if (system.RegistryText(versionKey, u"DisplayVersion", text)) {
        info.displayVersion = text;
    } else if (system.RegistryText(versionKey, u"ReleaseId", text)) {
        info.releaseId = static_cast<uint16_t>(Number(text));
    } else if (system.RegistryText(versionKey, u"CSDVersion", text)) {
        // "Service Pack 2": the number is the third word.
        info.servicePack = static_cast<uint16_t>(Number(Behind(Behind(text, u' '), u' ')));
    }
    system.RegistryText(versionKey, u"ProductName", info.productName);
}

int32_t FamilyOfTen(const OsInfo& info) {
    if (!info.isServer) return info.build < 22000 ? 11 : 14;
    if (info.build < 17758) return 12;
    if (info.build < 20348) return 13;
    return info.build < 26100 ? 15 : 16;
}

struct KnownVersion {
    uint32_t major;
    uint32_t minor;
    int32_t workstation;
    int32_t server;
};

constexpr KnownVersion knownVersions[] = {
    {10, 0, 0, 0}, {6, 3, 9, 10}, {6, 2, 7, 8}, {6, 1, 5, 6}, {6, 0, 3, 4}, {5, 2, 1, 2}, {5, 1, 1, 1},
};

bool IsAboveTen(OsVersion& system) {
    VersionTest test;
    test.major = {10, AtLeast};
    test.minor = {0, Above};
    test.servicePack = {32767, Above};
    return system.VerifyVersion(test);
}

void FindVersionAboveTen(OsVersion& system, OsInfo& info) {
    info.family = 1000;
    for (uint32_t major = 10; major <= 11; ++major) {
        for (uint32_t minor = 0; minor <= 2; ++minor) {
            if (!IsExactly(system, major, minor)) continue;
            info.major = major;
            info.minor = minor;
            return;
        }
    }
}

void FindKnownVersion(OsVersion& system, OsInfo& info) {
    for (const KnownVersion& known : knownVersions) {
        if (!IsExactly(system, known.major, known.minor)) continue;
        info.major = known.major;
        info.minor = known.minor;
        info.family =
            known.major == 10 ? FamilyOfTen(info) : (info.isServer ? known.server : known.workstation);
        return;
    }
    info.family = 0;
}

void FindServicePack(OsVersion& system, OsInfo& info) {
    for (uint16_t pack = 0; pack <= 5; ++pack) {
        VersionTest test;
        test.servicePack = {pack, Exactly};
        if (!system.VerifyVersion(test)) continue;
        info.servicePack = pack;
        return;
    }
}

void FillFamily(OsVersion& system, OsInfo& info) {
    if (IsAboveTen(system)) {
        FindVersionAboveTen(system, info);
    } else {
        FindKnownVersion(system, info);
    }
    if (info.major == 5 || (info.major == 6 && info.minor <= 1)) FindServicePack(system, info);
    uint32_t productType = 0;
    if (system.ProductInfo(info.major, info.minor, info.servicePack, productType))
        info.productType = productType;
}

// A multi-session desktop presents itself as a server and is none.
void CorrectFamily(OsInfo& info) {
    constexpr uint32_t multiSession = 175;
    if (info.productType == multiSession) {
        const int32_t before = info.family;
        if (before == 13) info.family = 11;
        if (before == 15 || before == 16) info.family = 14;
        if (info.family != before) info.isServer = false;
    }
    if (info.family != 14) return;
    // The registry of this family still calls it by the number before.
    const size_t at = info.productName.find(u" 10 ");
    if (at != WideString::npos) info.productName[at + 2] = u'1';
}

WideString FullName(const OsInfo& info) {
    WideString name = info.productName;
    if (info.architecture == 2) name += u" 64 bits";
    if (info.architecture == 3) name += u" ARM 64";
    if (!info.displayVersion.empty()) return name + u" Version " + info.displayVersion;
    if (info.servicePack != 0) return name + u" Service Pack " + DecimalText(uint64_t{info.servicePack});
    return name + u" Version " + DecimalText(uint64_t{info.releaseId});
}

}  // namespace

void CWindowsOperatingSystem::Fill(OsInfo& info) {
    OsVersion& system = platform::SystemOsVersion();
    info.isNt = IsNt(system);
    if (!info.isNt) return;
    FillArchitecture(system, info);
    FillProductKind(system, info);
    FillVersionNumbers(system, info);
    FillNames(system, info);
    FillFamily(system, info);
    CorrectFamily(info);
    info.fullName = FullName(info);
}

COperatingSystem::COperatingSystem() {
    MutexLock hold(infoLock);
    if (!sharedInfo) {
        auto fresh = std::make_unique<OsInfo>();
        Fill(*fresh);
        sharedInfo = std::move(fresh);
    }
    ++infoUsers;
    info = sharedInfo.get();
}

COperatingSystem::~COperatingSystem() {
    MutexLock hold(infoLock);
    if (--infoUsers == 0) sharedInfo.reset();
}

}  // namespace orrery
