#include "standins/wirelink/proxy_list.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

namespace orrery::wirelink {
namespace {

TEST(ProxyListTest, KeepsTheOrderOfAdding) {
    ::setenv("all_proxy", "http://u:p@system:1", 1);
    ProxyList list;
    EXPECT_TRUE(list.AddDirect(true));
    EXPECT_TRUE(list.AddExplicit(u"a:1;b:2", u"user", u"word", nullptr, false));
    EXPECT_TRUE(list.AddExplicit(nullptr, nullptr, nullptr, nullptr, false));
    EXPECT_TRUE(list.AddPacUrl(u"http://w/p", u"", u"", nullptr, nullptr, false));
    EXPECT_TRUE(list.AddSystem(SystemProxyWinHttp, false));
    EXPECT_TRUE(list.AddSystem(SystemProxyDiscovery, true));
    EXPECT_FALSE(list.AddSystem(4, false));
    EXPECT_FALSE(list.AddEntry(nullptr));
    EXPECT_TRUE(list.AddEntry(new ProxySetting(ProxyValues{.mode = 7})));
    ::unsetenv("all_proxy");

    const std::vector<ProxyValues> expected{
        {.mode = ProxyDirect, .fallback = true},
        {.mode = ProxyExplicit, .proxyList = u"a:1;b:2", .username = u"user", .password = u"word"},
        {.mode = ProxyExplicit},
        {.mode = ProxyWpad, .wpadUrl = u"http://w/p"},
        {.mode = ProxyExplicit, .proxyList = u"http://system:1", .username = u"u", .password = u"p"},
        {.mode = ProxyWpad, .wpadAutoDetect = true, .fallback = true},
        {.mode = 7}};
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(list.BeginEnumeration());
        for (const ProxyValues& values : expected) {
            const IProxySetting* const entry = list.NextEntry();
            ASSERT_TRUE(entry);
            EXPECT_TRUE(ProxySetting(values).Equal(entry)) << values.mode;
            EXPECT_EQ(entry->Fallback(), values.fallback);
        }
        EXPECT_EQ(list.NextEntry(), nullptr);
        list.EndEnumeration();
    }
}

struct EqualCase {
    const char* name;
    ProxyValues left;
    ProxyValues right;
    bool equal;
};

class ProxySettingEqual : public testing::TestWithParam<EqualCase> {};

TEST_P(ProxySettingEqual, ComparesWhatTheModeUses) {
    const ProxySetting left(GetParam().left);
    const ProxySetting right(GetParam().right);
    EXPECT_EQ(left.Equal(&right), GetParam().equal);
    EXPECT_EQ(right.Equal(&left), GetParam().equal);
    EXPECT_FALSE(left.Equal(nullptr));
}

const EqualCase equalCases[] = {
    {"DirectIgnoresTexts", {.proxyList = u"a"}, {.wpadUrl = u"b", .fallback = true}, true},
    {"Modes", {.mode = ProxyDirect}, {.mode = ProxyExplicit}, false},
    {"ExplicitIgnoresWpad",
     {.mode = ProxyExplicit, .proxyList = u"a", .wpadUrl = u"x", .fallback = true},
     {.mode = ProxyExplicit, .proxyList = u"a", .furtherText = u"y", .wpadAutoDetect = true},
     true},
    {"ExplicitList",
     {.mode = ProxyExplicit, .proxyList = u"a"},
     {.mode = ProxyExplicit, .proxyList = u"A"},
     false},
    {"ExplicitPassword", {.mode = ProxyExplicit, .password = u"a"}, {.mode = ProxyExplicit}, false},
    {"WpadUrl", {.mode = ProxyWpad, .wpadUrl = u"a"}, {.mode = ProxyWpad}, false},
    {"WpadAutoDetect", {.mode = ProxyWpad, .wpadAutoDetect = true}, {.mode = ProxyWpad}, false},
};

INSTANTIATE_TEST_SUITE_P(, ProxySettingEqual, testing::ValuesIn(equalCases),
                         [](const auto& entry) { return std::string(entry.param.name); });

}  // namespace
}  // namespace orrery::wirelink
