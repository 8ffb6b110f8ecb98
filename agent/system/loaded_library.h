// A library of the home, open as long as this object lives. Finding and calling the exports is the owner's
// business. Used by one thread at a time.
#pragma once

#include <memory>
#include <string>

#include "contracts/wide_string.h"
#include "platform/library.h"

namespace orrery::agent {

class LoadedLibrary {
  public:
    // `folder` is wide and ends in a backslash. Null on failure, and `problem` says why.
    static std::unique_ptr<LoadedLibrary> Open(const WideString& folder, const WideString& fileName,
                                               std::string& problem);
    ~LoadedLibrary();
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;

    // False, and `problem` says so, if the library has no such export.
    template <class Function>
    bool Find(const char* name, Function& function, std::string& problem) const {
        function = reinterpret_cast<Function>(FindAddress(name, problem));
        return function != nullptr;
    }

  private:
    LoadedLibrary(platform::LibraryHandle library, std::string title);
    void* FindAddress(const char* name, std::string& problem) const;

    const platform::LibraryHandle library;
    const std::string title;
};

}  // namespace orrery::agent
