#include "platform/guid.h"

#include <uuid/uuid.h>

#include "platform/text.h"

namespace orrery::platform {

bool NewGuid(WideString& text) {
    uuid_t guid;
    char digits[UUID_STR_LEN];
    ::uuid_generate_random(guid);
    ::uuid_unparse_lower(guid, digits);
    text = ToWide(digits);
    return true;
}

}  // namespace orrery::platform
