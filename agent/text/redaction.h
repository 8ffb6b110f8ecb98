// Takes out of a text what isn't to be shown: passwords, secrets, signatures. It knows where they stand in
// what the module writes, and errs on the side of hiding; it can't know every secret of a foreign body. No
// state; safe from any thread.
#pragma once

#include <string>
#include <string_view>

namespace orrery::agent {

// Addresses without the user name and password that may stand before a host.
std::string WithoutUsers(std::string_view text);

// A message file: the values of headers that authorize (the service and the id of a signature stay), of the
// members of JSON bodies and the parameters whose names say "password" or "secret", and users of addresses.
std::string HideSecrets(std::string text);

}  // namespace orrery::agent
