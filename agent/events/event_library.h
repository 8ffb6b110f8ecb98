// The event dispatch library as the host holds it. Used by the main thread; the object that it gives is safe
// from any thread.
#pragma once

#include <memory>
#include <string>

#include "agent/system/loaded_library.h"
#include "contracts/eventgate.h"

namespace orrery::agent {

class EventLibrary {
  public:
    // Loads Eventgate.dll from `folder`. Null on failure, and `problem` says why.
    static std::unique_ptr<EventLibrary> Load(const WideString& folder, std::string& problem);
    ~EventLibrary();
    EventLibrary(const EventLibrary&) = delete;
    EventLibrary& operator=(const EventLibrary&) = delete;

    IEventgate& Gate() { return *eventgate; }

  private:
    explicit EventLibrary(std::unique_ptr<LoadedLibrary> library) : library(std::move(library)) {}
    bool Bind(std::string& problem);

    const std::unique_ptr<LoadedLibrary> library;
    FreeIEventgateFunction freeEventgate = nullptr;
    IEventgate* eventgate = nullptr;
};

}  // namespace orrery::agent
