// Digests, the cipher and the text form of bytes, from the platform's cryptographic provider. Strings hold
// arbitrary bytes. No state; safe from any thread.
//
// False means that the provider refuses; the output is then untouched, that of Md5 undefined.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace orrery::platform {

bool Md5(const void* data, size_t size, std::array<uint8_t, 16>& digest);
// 32 bytes each.
bool Sha256(std::string_view data, std::string& digest);
bool HmacSha256(std::string_view key, std::string_view data, std::string& digest);
// PBKDF2 with HMAC-SHA1 (RFC 2898).
bool DeriveKey(std::string_view passPhrase, std::string_view salt, uint32_t iterations, size_t size,
               std::string& key);

// AES-256 in CBC mode with PKCS#7 padding: a key of 32 bytes, an `iv` of 16 or empty for zeros. Deciphering
// also fails for bad padding and for a length that isn't whole blocks.
bool EncipherAes256(std::string_view key, std::string_view iv, std::string_view plain, std::string& cipher);
bool DecipherAes256(std::string_view key, std::string_view iv, std::string_view cipher, std::string& plain);

// RFC 4648, standard alphabet, padded, one line.
std::string Base64(std::string_view bytes);
// Fails for the empty text, for any other character and for a length that isn't a multiple of 4. Each `=`, in
// whichever group of four, makes what its group gives one byte shorter.
bool DecodeBase64(std::string_view text, std::string& bytes);

}  // namespace orrery::platform
