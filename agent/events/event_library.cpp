#include "agent/events/event_library.h"

namespace orrery::agent {

std::unique_ptr<EventLibrary> EventLibrary::Load(const WideString& folder, std::string& problem) {
    auto library = LoadedLibrary::Open(folder, u"Eventgate.dll", problem);
    if (!library) return nullptr;
    std::unique_ptr<EventLibrary> loaded(new EventLibrary(std::move(library)));
    return loaded->Bind(problem) ? std::move(loaded) : nullptr;
}

EventLibrary::~EventLibrary() {
    if (eventgate) freeEventgate(&eventgate);
}

bool EventLibrary::Bind(std::string& problem) {
    GetIEventgateFunction getEventgate = nullptr;
    if (!library->Find("GetIEventgate", getEventgate, problem)) return false;
    if (!library->Find("FreeIEventgate", freeEventgate, problem)) return false;
    eventgate = getEventgate();
    if (!eventgate) problem = "Eventgate.dll gives no object";
    return eventgate != nullptr;
}

}  // namespace orrery::agent
