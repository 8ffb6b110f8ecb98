#include "platform/crypto.h"

#include <gtest/gtest.h>

namespace orrery::platform {
namespace {

TEST(Base64, EachPaddingShortensItsGroup) {
    const std::string_view refused = "refused";
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"TWFu", "Man"},  {"TWE=TQ==TWFu", "MaMMan"}, {"====", ""},
        {"=WFu", "\1a"},  {"+/+/", "\xFB\xFF\xBF"},   {"", refused},
        {"TWF", refused}, {"TWFu\n\n\n\n", refused},
    };
    for (const auto& [text, expected] : cases) {
        std::string bytes(refused);
        EXPECT_EQ(DecodeBase64(text, bytes), expected != refused) << text;
        EXPECT_EQ(bytes, expected) << text;
    }
}

}  // namespace
}  // namespace orrery::platform
