// The folder of a store while the store is being opened: held exclusively among all processes, so that one
// creates the file, or sets a damaged one aside, and the others find the result. Not kept any longer.
#pragma once

#include <string>

namespace orrery::prefstore {

class StoreFolder {
  public:
    // Makes missing levels, for the owner alone. Waits while another process opens its store here; the
    // system ends that wait also when the other one dies.
    explicit StoreFolder(const std::string& folder);
    ~StoreFolder();
    StoreFolder(const StoreFolder&) = delete;
    StoreFolder& operator=(const StoreFolder&) = delete;

    // False if the folder could not be made or opened; `errno` says why.
    bool IsHeld() const { return descriptor >= 0; }
    // Makes the file with mode 0600 if there is none. False as above, also if nothing can be written here.
    bool MakeFile(const std::string& name) const;
    // Without the log that belongs to it the file says nothing true: one that was emptied or taken away.
    bool HasOrphanedLog(const std::string& name) const;
    // Renames the file and what belongs to it; `newName` tells to what. False as above.
    bool SetAside(const std::string& name, std::string& newName) const;

  private:
    long long SizeOf(const std::string& name) const;

    int descriptor;
};

}  // namespace orrery::prefstore
