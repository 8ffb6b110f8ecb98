#include "platform/guid.h"

#include <sys/random.h>
#include <uuid/uuid.h>

#include "platform/text.h"

namespace orrery::platform {

// A random GUID as RFC 4122, version 4, has it. The bytes come straight from the system: the library's own
// generator seeds itself anew for each, which costs several times as much, and every push needs one.
bool NewGuid(WideString& text) {
    uuid_t guid;
    if (::getrandom(guid, sizeof guid, 0) != static_cast<ssize_t>(sizeof guid)) return false;
    guid[6] = static_cast<unsigned char>((guid[6] & 0x0F) | 0x40);
    guid[8] = static_cast<unsigned char>((guid[8] & 0x3F) | 0x80);
    char digits[UUID_STR_LEN];
    ::uuid_unparse_lower(guid, digits);
    text = ToWide(digits);
    return true;
}

}  // namespace orrery::platform
