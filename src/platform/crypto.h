// Digests of the platform's cryptographic provider.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace orrery::platform {

// False if the provider refuses; `digest` is then undefined.
bool Md5(const void* data, size_t size, std::array<uint8_t, 16>& digest);

}  // namespace orrery::platform
