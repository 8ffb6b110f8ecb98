#include "foundation/cypher/aes_cypher.h"

#include <algorithm>
#include <new>
#include <utility>

#include "foundation/cypher/cypher_material.h"
#include "foundation/trace.h"
#include "platform/crypto.h"

namespace orrery {

namespace {

constexpr uint32_t iterations = 1000;
constexpr size_t ivSize = 16;

}  // namespace

CAESCypher::CAESCypher() : passPhrase(cypherPassPhrase), salt(cypherSalt) {}

CAESCypher::CAESCypher(std::string passPhrase) : passPhrase(std::move(passPhrase)) {}

bool CAESCypher::SetPassPhrase(std::string_view value) {
    if (value.empty()) return false;
    passPhrase = value;
    ForgetKey();
    return true;
}

bool CAESCypher::SetSalt(std::string_view value) {
    if (value.empty()) return false;
    salt = value;
    ForgetKey();
    return true;
}

bool CAESCypher::Encipher(const std::string& plain, std::string& cipher) try {
    const Trace::Scope trace("CAESCypher::Encipher");
    CypherKey handle;
    return MakeKey(handle) && platform::EncipherAes256(handle.bytes, handle.iv, plain, cipher);
} catch (const std::bad_alloc&) {
    return false;
}

bool CAESCypher::Decipher(const std::string& cipher, std::string& plain) try {
    const Trace::Scope trace("CAESCypher::Decipher");
    CypherKey handle;
    return MakeKey(handle) && platform::DecipherAes256(handle.bytes, handle.iv, cipher, plain);
} catch (const std::bad_alloc&) {
    return false;
}

bool CAESCypher::EncipherToText(const std::string& plain, std::string& text) try {
    const Trace::Scope trace("CAESCypher::EncipherToText");
    std::string cipher;
    if (!Encipher(plain, cipher)) return false;
    text = platform::Base64(cipher);
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

bool CAESCypher::DecipherFromText(const std::string& text, std::string& plain) try {
    const Trace::Scope trace("CAESCypher::DecipherFromText");
    std::string cipher;
    return platform::DecodeBase64(text, cipher) && Decipher(cipher, plain);
} catch (const std::bad_alloc&) {
    return false;
}

bool CAESCypher::GetKey(void* buffer, uint32_t& size) {
    DeriveKey();
    const uint32_t room = std::exchange(size, static_cast<uint32_t>(key.size()));
    if (key.empty() || !buffer || room < size) return false;
    std::ranges::copy(key, static_cast<char*>(buffer));
    return true;
}

// CBC is the one mode that the platform's cipher has.
bool CAESCypher::ApplyKeyParameters(CypherKey& keyHandle) {
    if (!iv.empty()) keyHandle.iv = iv;
    return true;
}

void CAESCypher::DeriveKey() {
    if (!key.empty() || passPhrase.empty()) return;
    const size_t keySize = keyBits / 8;
    std::string derived;
    if (salt.empty()) {
        key = passPhrase;
        key.resize(keySize, '\0');
    } else if (platform::DeriveKey(passPhrase, salt, iterations, keySize + ivSize, derived)) {
        iv = derived.substr(keySize);
        key = derived.substr(0, keySize);
    }
}

void CAESCypher::ForgetKey() {
    key.clear();
    iv.clear();
}

bool CAESCypher::MakeKey(CypherKey& keyHandle) {
    uint32_t size = keyBits / 8;
    keyHandle.bytes.resize(size);
    return GetKey(keyHandle.bytes.data(), size) && ApplyKeyParameters(keyHandle);
}

}  // namespace orrery
