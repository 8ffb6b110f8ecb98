#include "platform/crypto.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <algorithm>
#include <memory>

namespace orrery::platform {

namespace {

constexpr size_t blockSize = 16;
constexpr size_t keySize = 32;

const uint8_t* Bytes(std::string_view text) {
    return reinterpret_cast<const uint8_t*>(text.data());
}

uint8_t* Bytes(std::string& text) {
    return reinterpret_cast<uint8_t*>(text.data());
}

bool RunAes256(bool encipher, std::string_view key, std::string_view iv, std::string_view in,
               std::string& out) {
    if (key.size() != keySize || (!iv.empty() && iv.size() != blockSize)) return false;
    const std::string vector = iv.empty() ? std::string(blockSize, '\0') : std::string(iv);
    const std::unique_ptr<::EVP_CIPHER_CTX, decltype(&::EVP_CIPHER_CTX_free)> context(::EVP_CIPHER_CTX_new(),
                                                                                      &::EVP_CIPHER_CTX_free);
    std::string result(in.size() + blockSize, '\0');
    int size = 0;
    int last = 0;
    if (!context ||
        ::EVP_CipherInit_ex(context.get(), ::EVP_aes_256_cbc(), nullptr, Bytes(key), Bytes(vector),
                            encipher ? 1 : 0) != 1 ||
        ::EVP_CipherUpdate(context.get(), Bytes(result), &size, Bytes(in), static_cast<int>(in.size())) !=
            1 ||
        ::EVP_CipherFinal_ex(context.get(), Bytes(result) + size, &last) != 1)
        return false;
    result.resize(static_cast<size_t>(size + last));
    out = std::move(result);
    return true;
}

bool IsBase64(std::string_view text) {
    constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";
    return !text.empty() && text.size() % 4 == 0 && text.find_first_not_of(alphabet) == text.npos;
}

}  // namespace

bool Md5(const void* data, size_t size, std::array<uint8_t, 16>& digest) {
    return ::EVP_Digest(data, size, digest.data(), nullptr, ::EVP_md5(), nullptr) == 1;
}

bool Sha256(std::string_view data, std::string& digest) {
    std::string result(32, '\0');
    if (::EVP_Digest(data.data(), data.size(), Bytes(result), nullptr, ::EVP_sha256(), nullptr) != 1)
        return false;
    digest = std::move(result);
    return true;
}

bool HmacSha256(std::string_view key, std::string_view data, std::string& digest) {
    std::string result(32, '\0');
    if (!::HMAC(::EVP_sha256(), key.data(), static_cast<int>(key.size()), Bytes(data), data.size(),
                Bytes(result), nullptr))
        return false;
    digest = std::move(result);
    return true;
}

bool DeriveKey(std::string_view passPhrase, std::string_view salt, uint32_t iterations, size_t size,
               std::string& key) {
    std::string result(size, '\0');
    if (::PKCS5_PBKDF2_HMAC(passPhrase.data(), static_cast<int>(passPhrase.size()), Bytes(salt),
                            static_cast<int>(salt.size()), static_cast<int>(iterations), ::EVP_sha1(),
                            static_cast<int>(size), Bytes(result)) != 1)
        return false;
    key = std::move(result);
    return true;
}

bool EncipherAes256(std::string_view key, std::string_view iv, std::string_view plain, std::string& cipher) {
    return RunAes256(true, key, iv, plain, cipher);
}

bool DecipherAes256(std::string_view key, std::string_view iv, std::string_view cipher, std::string& plain) {
    return RunAes256(false, key, iv, cipher, plain);
}

std::string Base64(std::string_view bytes) {
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
    const int size = ::EVP_EncodeBlock(Bytes(text), Bytes(bytes), static_cast<int>(bytes.size()));
    text.resize(static_cast<size_t>(size));
    return text;
}

bool DecodeBase64(std::string_view text, std::string& bytes) {
    if (!IsBase64(text)) return false;
    std::string groups(text.size() / 4 * 3, '\0');
    if (::EVP_DecodeBlock(Bytes(groups), Bytes(text), static_cast<int>(text.size())) < 0) return false;
    std::string result;
    for (size_t at = 0; at < text.size(); at += 4) {
        const auto padding = static_cast<size_t>(std::ranges::count(text.substr(at, 4), '='));
        result.append(groups, at / 4 * 3, 3 - std::min<size_t>(padding, 3));
    }
    bytes = std::move(result);
    return true;
}

}  // namespace orrery::platform
