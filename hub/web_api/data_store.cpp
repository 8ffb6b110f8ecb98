#include "hub/web_api/data_store.h"

#include "platform/clock.h"

namespace orrery::hub {

DataStore::DataStore() : era(std::to_string(platform::SystemTicks())) {}

const DataStore::Resource* DataStore::Find(const Key& key) const {
    const auto found = resources.find(key);
    return found != resources.end() ? &found->second : nullptr;
}

const DataStore::Resource& DataStore::Put(const Key& key, std::string data) {
    return resources[key] = {std::move(data), '"' + era + '-' + std::to_string(++changes) + '"'};
}

}  // namespace orrery::hub
