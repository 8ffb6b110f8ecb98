#include "foundation/text/numbers.h"

#include <gtest/gtest.h>

#include "platform/text.h"

namespace orrery {
namespace {

TEST(Numbers, EachReadingSaysWhatIsTooLarge) {
    constexpr uint64_t largest = UINT64_MAX;
    const struct {
        const char16_t* text;
        std::optional<uint64_t> plain, leading;
        std::optional<int64_t> withSign;
        int32_t int32;
        uint32_t limit;
    } cases[] = {
        {u"\t\r +90", {}, 90, 90, 90, 90},
        {u"-7", {}, {}, -7, -7, 0},
        {u"2:", 2, 2, 2, 2, 2},
        {u"+-2", {}, {}, {}, 0, 0},
        {u"\u000E1", {}, {}, {}, 0, 0},
        {u"2147483648", 2147483648, 2147483648, 2147483648, INT32_MAX, 2147483648},
        {u"-2147483649", {}, {}, -2147483649, INT32_MIN, 0},
        {u"4294967296", 4294967296, 4294967296, 4294967296, INT32_MAX, UINT32_MAX},
        {u"9223372036854775808", 1ULL << 63, 1ULL << 63, {}, INT32_MAX, UINT32_MAX},
        {u"-9223372036854775808", {}, {}, INT64_MIN, INT32_MIN, 0},
        {u"-9223372036854775809", {}, {}, {}, INT32_MIN, 0},
        {u"18446744073709551615", largest, largest, {}, INT32_MAX, UINT32_MAX},
        {u"18446744073709551616", {}, {}, {}, INT32_MAX, UINT32_MAX},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(ToUtf8(one.text));
        EXPECT_EQ(PlainNumber(one.text), one.plain);
        EXPECT_EQ(LeadingUnsigned(one.text), one.leading);
        EXPECT_EQ(LeadingSigned(one.text), one.withSign);
        EXPECT_EQ(LeadingInt32(one.text), one.int32);
        EXPECT_EQ(LeadingUInt32(one.text), one.limit);
    }
}

}  // namespace
}  // namespace orrery
