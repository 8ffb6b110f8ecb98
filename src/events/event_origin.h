// Who wants an event raised. The dispatch library hears it as the flag of IEventgate::Dispatch; what it makes
// of it is its own affair, but every caller in the module has to say it.
#pragma once

namespace orrery {

enum class EventOrigin : bool {
    Remote = false,  // the server sent it, or the state of the channel to the server calls for it
    Local = true,    // work on this device asks for it: a handler, a retry, what the transport was seen to do
};

}  // namespace orrery
