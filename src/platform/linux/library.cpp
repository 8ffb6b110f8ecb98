#include "platform/library.h"

#include <dlfcn.h>

#include "platform/files.h"
#include "platform/text.h"

namespace orrery::platform {

namespace {

WideString NativeFileName(const WideString& fileName) {
    constexpr WideView foreign = u".dll";
    const WideView name = fileName;
    if (name.size() < foreign.size()) return fileName;
    const WideView stem = name.substr(0, name.size() - foreign.size());
    if (!EqualNoCase(name.substr(stem.size()), foreign)) return fileName;
    return WideString(stem) + u".so";
}

}  // namespace

// A name without a slash makes the loader search for the object that called dlopen. That is the library this
// code is linked into, so its own RUNPATH comes first.
LibraryHandle OpenLibrary(const WideString& folder, const WideString& fileName) {
    const std::string path = NativePath(folder + NativeFileName(fileName));
    return ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
}

void* FindExport(LibraryHandle library, const char* name) {
    return ::dlsym(library, name);
}

bool CloseLibrary(LibraryHandle library) {
    return ::dlclose(library) == 0;
}

std::string LastLibraryError() {
    const char* text = ::dlerror();
    return text ? text : "";
}

}  // namespace orrery::platform
