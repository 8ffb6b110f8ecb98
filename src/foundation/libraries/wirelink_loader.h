// One use of the HTTP transport library. The objects of a process share one library and one count; each may
// be used by one thread at a time.
#pragma once

#include <functional>

#include "contracts/wide_string.h"
#include "contracts/wirelink.h"

namespace orrery {

class CWirelinkLoader {
  public:
    explicit CWirelinkLoader(WideString folder);
    // The folder is asked for only if the library isn't loaded yet.
    explicit CWirelinkLoader(std::function<WideString()> folder);
    virtual ~CWirelinkLoader();  // unloads if this object still holds a use
    CWirelinkLoader(const CWirelinkLoader&) = delete;
    CWirelinkLoader& operator=(const CWirelinkLoader&) = delete;

    bool Load();
    // Null without a Load of this object, without the export, or if the library gives none.
    IWirelink* GetInterface();
    // Clears the caller's pointer through the library.
    void ReleaseInterface(IWirelink** wirelink);
    void Unload();

  private:
    const std::function<WideString()> folder;
    bool loaded = false;
};

}  // namespace orrery
