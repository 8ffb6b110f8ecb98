// Enciphers and deciphers short texts with AES-256 in CBC mode, by default with the material that is built
// in. It doesn't tell whether a text was altered: bad padding is a failure, but some altered texts decipher
// into others. An object belongs to one thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace orrery {

// A key made ready for one operation of the platform's cipher.
struct CypherKey {
    std::string bytes;
    std::string iv;  // empty: zeros
};

// Strings hold arbitrary bytes. False leaves the output alone.
class ICypher {
  public:
    virtual ~ICypher() = default;
    virtual bool Encipher(const std::string& plain, std::string& cipher) = 0;
    virtual bool Decipher(const std::string& cipher, std::string& plain) = 0;
    // The same in Base64, one line.
    virtual bool EncipherToText(const std::string& plain, std::string& text) = 0;
    virtual bool DecipherFromText(const std::string& text, std::string& plain) = 0;
    virtual uint32_t GetAlgorithm() const = 0;
    // `size`: in, the room in `buffer`; out, the length of the key, also on failure.
    virtual bool GetKey(void* buffer, uint32_t& size) = 0;
    // Makes the key one for CBC, from the initialisation vector of this object.
    virtual bool ApplyKeyParameters(CypherKey& keyHandle) = 0;
};

class CCypher : public ICypher {};

class CAESCypher final : public CCypher {
  public:
    CAESCypher();
    // Without a salt: the pass phrase itself, cut or padded with zeros, is the key.
    explicit CAESCypher(std::string passPhrase);

    // False, and nothing changes, for an empty one.
    bool SetPassPhrase(std::string_view value);
    bool SetSalt(std::string_view value);

    bool Encipher(const std::string& plain, std::string& cipher) override;
    bool Decipher(const std::string& cipher, std::string& plain) override;
    bool EncipherToText(const std::string& plain, std::string& text) override;
    bool DecipherFromText(const std::string& text, std::string& plain) override;
    uint32_t GetAlgorithm() const override { return algorithm; }
    bool GetKey(void* buffer, uint32_t& size) override;
    bool ApplyKeyParameters(CypherKey& keyHandle) override;

  private:
    void DeriveKey();
    void ForgetKey();
    bool MakeKey(CypherKey& keyHandle);

    const uint32_t algorithm = 26128;  // CALG_AES_256 of the CryptoAPI
    const uint32_t keyBits = 256;
    std::string passPhrase;
    std::string salt;
    std::string key;  // derived at its first use, as is the next
    std::string iv;
};

}  // namespace orrery
