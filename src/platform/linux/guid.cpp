#include "platform/guid.h"

#include <sys/random.h>
#include <uuid/uuid.h>

#include <algorithm>
#include <array>
#include <iterator>

#include "platform/mutex.h"

namespace orrery::platform {

namespace {

// Random bytes come from the system a batch at a time: every push needs a GUID, and one call for each would
// be a good part of its cost, as would the library's own generator, which seeds itself anew for each.
class RandomBytes {
  public:
    bool Take(uuid_t& guid) EXCLUDES(lock) {
        MutexLock hold(lock);
        if (used == batch.size() && !FillLocked()) return false;
        std::copy_n(batch.begin() + static_cast<ptrdiff_t>(used), sizeof(uuid_t), guid);
        used += sizeof(uuid_t);
        return true;
    }

  private:
    bool FillLocked() REQUIRES(lock) {
        if (::getrandom(batch.data(), batch.size(), 0) != static_cast<ssize_t>(batch.size())) return false;
        used = 0;
        return true;
    }

    Mutex lock;
    // Up to 256 bytes always come whole.
    std::array<unsigned char, 16 * sizeof(uuid_t)> batch GUARDED_BY(lock);
    size_t used GUARDED_BY(lock) = batch.size();
};

}  // namespace

// A random GUID as RFC 4122, version 4, has it.
bool NewGuid(WideString& text) {
    static RandomBytes random;
    uuid_t guid;
    if (!random.Take(guid)) return false;
    guid[6] = static_cast<unsigned char>((guid[6] & 0x0F) | 0x40);
    guid[8] = static_cast<unsigned char>((guid[8] & 0x3F) | 0x80);
    char digits[UUID_STR_LEN];
    ::uuid_unparse_lower(guid, digits);
    text.assign(std::begin(digits), std::end(digits) - 1);  // without the NUL
    return true;
}

}  // namespace orrery::platform
