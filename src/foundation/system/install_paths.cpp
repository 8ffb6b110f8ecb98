#include "foundation/system/install_paths.h"

#include "platform/files.h"
#include "platform/registry.h"

namespace orrery {

namespace {

constexpr char16_t uninstallKey[] = u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\";

void CloseFolder(WideString& path) {
    if (!path.ends_with(u'\\')) path += u'\\';
}

bool ReadAgentValue(const char16_t* name, WideString& value) {
    return platform::ReadRegistryText(agentRegistryKey, name, value);
}

bool ReadDisplayName(const WideString& product, WideString& value) {
    return platform::ReadRegistryText(uninstallKey + product, u"DisplayName", value);
}

WideString DisplayName() {
    WideString value;
    if (ReadDisplayName(u"Zelko Orrery Agent", value)) return value;
    WideString productCode;
    if (ReadAgentValue(u"ProductCodeMSI", productCode) && ReadDisplayName(productCode, value)) return value;
    if (ReadAgentValue(u"LProductName", value)) return value;
    return u"Zelko Endpoint Agent";
}

}  // namespace

bool GetInstallFolder(WideString& path) {
    WideString value;
    if (!ReadAgentValue(u"Path", value)) return false;
    CloseFolder(value);
    path = std::move(value);
    return true;
}

bool GetUtilsFolder(WideString& path) {
    if (!GetInstallFolder(path)) return false;
    path += u"Utils\\";
    return true;
}

WideString UtilsFolder() {
    WideString folder;
    GetUtilsFolder(folder);
    return folder;
}

bool GetDataFolder(WideString& path) {
    WideString folder;
    if (!platform::CommonDataFolder(folder)) return false;
    CloseFolder(folder);
    WideString value;
    folder += ReadAgentValue(u"InitialCompanyName", value) ? value : u"Zelko Security";
    folder += u'\\';
    folder += ReadAgentValue(u"InitialProductName", value) ? value : DisplayName();
    folder += u'\\';
    path = std::move(folder);
    return true;
}

bool GetMessagesFolder(WideString& path) {
    WideString folder;
    if (!GetDataFolder(folder)) return false;
    path = folder + u"Messages\\";
    return platform::PathExists(path) || platform::CreateFolder(path);
}

}  // namespace orrery
