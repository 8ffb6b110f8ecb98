#include "platform/text.h"

#include <gtest/gtest.h>

#include "platform/linux/code_page.h"

namespace orrery {
namespace {

using platform::CodePage;

using Pairs = std::pair<std::string_view, WideView>[];

TEST(Text, WellFormedTextConvertsBothWays) {
    for (const auto& [narrow, wide] : Pairs{
             {"", u""},
             {"\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF", u"\x7F\x80\x7FF\x800\xFFFF"},
             {"sixteen and more a\xF0\x9F\x98\x80z\xF4\x8F\xBF\xBF",
              u"sixteen and more a\U0001F600z\U0010FFFF"},
         }) {
        EXPECT_EQ(ToUtf8(wide), narrow);
        EXPECT_EQ(ToWide(narrow), wide);
    }
}

TEST(Text, MalformedUtf8BecomesReplacementCharacters) {
    for (const auto& [narrow, wide] : Pairs{
             {"\xE2\x82z", u"\uFFFDz"},              // cut by ASCII
             {"z\xF0\x9F\x98", u"z\uFFFD"},          // cut by the end
             {"\xE2\x82\xC3\xA4", u"\uFFFD\u00E4"},  // cut by another character
             {"\xED\xA0\x80z", u"\uFFFDz"},          // surrogate
         }) {
        EXPECT_EQ(ToWide(narrow), wide);
    }
}

TEST(Text, UnpairedSurrogatesBecomeReplacementCharacters) {
    const char16_t lead = 0xD83D, trail = 0xDE00;
    EXPECT_EQ(ToUtf8(WideString{trail, lead, u'z'}), "\xEF\xBF\xBD\xEF\xBF\xBDz");
    EXPECT_EQ(ToUtf8(WideString{lead, lead, trail, lead}), "\xEF\xBF\xBD\xF0\x9F\x98\x80\xEF\xBF\xBD");
}

TEST(Text, CaseIsThatOfEveryLetter) {
    EXPECT_TRUE(EqualNoCase(u"aZ\u00C4\u0416\u03A9\u1E9E\u2C00", u"Az\u00E4\u0436\u03C9\u00DF\u2C30"));
    const std::pair<WideView, WideView> others[] = {
        {u"@[`{", u"`{@["}, {u"\u00E4", u"a"}, {u"\u00D7", u"\u00F7"}, {u"a", u"ab"}, {u"K", u"L"},
    };
    for (const auto& [one, other] : others) EXPECT_FALSE(EqualNoCase(one, other)) << ToUtf8(one);
}

TEST(CodePage, WhatItLacksAndMalformedBytesAreReplaced) {
    std::string narrow;
    ASSERT_TRUE(CodePage("ISO-8859-1").FromWide(u"\u00E4\u20AC\U0001F600z\xD83D", narrow));
    EXPECT_EQ(narrow, "\xE4??z?");
    const WideString euros(100, u'\u20AC');
    ASSERT_TRUE(CodePage("ISO-8859-1").FromWide(euros + u"ab\u00E4\U0001F600\u20ACabcde\U0001F600h", narrow));
    EXPECT_EQ(narrow, std::string(100, '?') + "ab\xE4??abcde?h");
    const CodePage page("EUC-JP");
    const WideString text(10'000, u'\u3042');
    WideString wide;
    ASSERT_TRUE(page.FromWide(text, narrow));
    ASSERT_TRUE(page.ToWide(narrow + "\xFFz\xA4", wide));
    EXPECT_EQ(wide, text + u"\uFFFDz\uFFFD");
}

}  // namespace
}  // namespace orrery
