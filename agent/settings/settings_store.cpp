#include "agent/settings/settings_store.h"

#include "platform/error_codes.h"
#include "platform/text.h"

namespace orrery::agent {

std::unique_ptr<SettingsStore> SettingsStore::Open(const AgentHome& home, std::string& problem) {
    std::unique_ptr<SettingsStore> store(new SettingsStore);
    return store->Bind(home, problem) ? std::move(store) : nullptr;
}

bool SettingsStore::Bind(const AgentHome& home, std::string& problem) {
    if (!home.IsInstalled()) {
        problem = "there is no agent in " + home.Folder() + " (orrery-agent install makes one)";
        return false;
    }
    // Stays loaded: the store's objects belong to the process and nobody gives them back.
    static const LoadedLibrary* library = nullptr;
    library = LoadedLibrary::Open(home.WideUtilsFolder(), u"Prefstore.dll", problem).release();
    GetUtilFunction getUtil = nullptr;
    GetListingFunction getListing = nullptr;
    if (!library || !library->Find("GetUtil", getUtil, problem)) return false;
    if (!library->Find("GetListing", getListing, problem)) return false;
    listing = getListing();
    util = getUtil();
    const std::string trouble = listing->Problem();
    if (!util) problem = "the settings store can't be opened: " + trouble;
    return util != nullptr;
}

WideString ReadSetting(ConfigUtil& store, const WideString& key) {
    WideString value;
    return store.ReadValue(key, value, 0) == Success ? value : WideString();
}

bool IsSettingsKey(WideView key) {
    const size_t first = key.find(u'.');
    const size_t second = first == WideView::npos ? first : key.find(u'.', first + 1);
    return second != WideView::npos && first > 0 && second > first + 1 && second + 1 < key.size();
}

}  // namespace orrery::agent
