#include "foundation/cypher/aes_cypher.h"

#include <gtest/gtest.h>

namespace orrery {
namespace {

// The texts were made by the openssl command, from the same pass phrase and salt.
TEST(AESCypher, ReadsAndWritesWhatOthersWrite) {
    const std::pair<std::string, std::string> cases[] = {
        {R"({"ProxyConfig":[{"source":"direct"}]})",
         "1s7EIQ1fYFQXGOQGZOHsaVkd8MsSQUdCt9v6s8rP6N8R4qzkO5I2IVhNzcf7n/lB"},
        {std::string("a\0b", 3), "KNbrtzciXu02mCVzPWTsMA=="},
    };
    for (const auto& [plain, text] : cases) {
        std::string out;
        EXPECT_TRUE(CAESCypher().EncipherToText(plain, out));
        EXPECT_EQ(out, text);
        EXPECT_TRUE(CAESCypher().DecipherFromText(text, out));
        EXPECT_EQ(out, plain);
    }
}

TEST(AESCypher, PadsToWholeBlocksAndRefusesWhatWasCutOrAltered) {
    CAESCypher cypher;
    for (const size_t size : {0u, 15u, 16u, 17u}) {
        const std::string plain(size, '\x1');  // looks like padding itself
        std::string cipher, out;
        ASSERT_TRUE(cypher.Encipher(plain, cipher));
        EXPECT_EQ(cipher.size(), size / 16 * 16 + 16);
        EXPECT_TRUE(cypher.Decipher(cipher, out));
        EXPECT_EQ(out, plain);
        out = "as it was";
        EXPECT_FALSE(cypher.Decipher(cipher.substr(0, cipher.size() - 1), out)) << size;
        cipher.back() = static_cast<char>(cipher.back() ^ 1);
        EXPECT_FALSE(cypher.Decipher(cipher, out)) << size;
        EXPECT_EQ(out, "as it was");
    }
}

}  // namespace
}  // namespace orrery
