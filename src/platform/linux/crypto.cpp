#include "platform/crypto.h"

#include <openssl/evp.h>

namespace orrery::platform {

bool Md5(const void* data, size_t size, std::array<uint8_t, 16>& digest) {
    return ::EVP_Digest(data, size, digest.data(), nullptr, ::EVP_md5(), nullptr) == 1;
}

}  // namespace orrery::platform
