// Dynamic libraries, found at run time. A path is wide text with backslashes; `X.dll` is looked for under
// the platform's own name for it (`X.so`). Safe from any thread.
#pragma once

#include <string>

#include "contracts/wide_string.h"

namespace orrery::platform {

using LibraryHandle = void*;

// `folder` ends in a backslash, or is empty: then the loader's own search applies, which begins beside the
// calling library. The libraries that this one needs are found beside it. Null on failure.
LibraryHandle OpenLibrary(const WideString& folder, const WideString& fileName);
void* FindExport(LibraryHandle library, const char* name);
bool CloseLibrary(LibraryHandle library);
// The text of the calling thread's last failure here; UTF-8.
std::string LastLibraryError();

}  // namespace orrery::platform
