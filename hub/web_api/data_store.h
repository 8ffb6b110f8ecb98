// The resources that devices keep by service, product and id, each with an entity tag that changes whenever
// the data is written. Nothing outlives the hub. The server's one thread.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <tuple>

namespace orrery::hub {

class DataStore {
  public:
    using Key = std::tuple<std::string, std::string, std::string>;  // service, product, id
    struct Resource {
        std::string data;
        std::string tag;  // quotes included
    };

    DataStore();

    // Null if there is none. Good until it is written again.
    const Resource* Find(const Key& key) const;
    // Creates or replaces.
    const Resource& Put(const Key& key, std::string data);
    const std::map<Key, Resource>& All() const { return resources; }

  private:
    // Begins each tag, so that a device doesn't find its tag of an earlier hub to be the current one.
    const std::string era;
    uint64_t changes = 0;
    std::map<Key, Resource> resources;
};

}  // namespace orrery::hub
