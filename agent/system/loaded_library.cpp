#include "agent/system/loaded_library.h"

#include "platform/text.h"

namespace orrery::agent {

std::unique_ptr<LoadedLibrary> LoadedLibrary::Open(const WideString& folder, const WideString& fileName,
                                                   std::string& problem) {
    const platform::LibraryHandle library = platform::OpenLibrary(folder, fileName);
    const std::string title = ToUtf8(fileName);
    if (!library) {
        problem = "can't load " + title + ": " + platform::LastLibraryError();
        return nullptr;
    }
    return std::unique_ptr<LoadedLibrary>(new LoadedLibrary(library, title));
}

LoadedLibrary::LoadedLibrary(platform::LibraryHandle library, std::string title)
    : library(library), title(std::move(title)) {}

LoadedLibrary::~LoadedLibrary() {
    platform::CloseLibrary(library);
}

void* LoadedLibrary::FindAddress(const char* name, std::string& problem) const {
    void* address = platform::FindExport(library, name);
    if (!address) problem = title + " doesn't export " + name;
    return address;
}

}  // namespace orrery::agent
