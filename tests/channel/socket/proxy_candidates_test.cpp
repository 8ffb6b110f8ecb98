#include "channel/socket/proxy_candidates.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "platform/text.h"
#include "standins/wirelink/proxy/proxy_list.h"
#include "support/temporary_folder.h"

namespace orrery::test {
namespace {

TEST(ProxyCandidatesTest, ReadsAddresses) {
    const std::pair<const char*, const char*> cases[] = {
        {"proxy", "http://proxy/"},
        {"HTTP=PROXY-AZ:3128", "http://proxy-az:3128/"},
        {"p:3128/path", "http://p:3128/"},
        {"https://p:1", "https://p:1/"},
        {"https=p:1", "https://p:1/"},
        {"http=http://p:1", "http://p:1/"},
        {"ftp=http=p:1", ""},
        {"socks=p:1080", ""},
        {"ws://p:1", ""},
        {":3128", ""},
        {"http://", ""},
        {"=p", ""},
        {"p q:1", ""},
        {"", ""},
    };
    std::string address;
    for (const auto& [text, expected] : cases) {
        address.clear();
        EXPECT_EQ(ProxyCandidateCollector::ParseProxyAddress(text, address), *expected != 0) << text;
        EXPECT_EQ(address, expected) << text;
    }
    for (const char* text : {"p:x", "socks=p:x", "[::1]:3128"}) {
        EXPECT_THROW(ProxyCandidateCollector::ParseProxyAddress(text, address), std::invalid_argument)
            << text;
    }
}

// The candidates in order: the address, then user and password if there are any.
std::vector<std::string> Candidates(IProxyList* list) {
    std::vector<ProxyCandidate> candidates;
    ProxyCandidateCollector(u"wss://h/p", list).CollectProxyCandidates(candidates);
    std::vector<std::string> found;
    for (const auto& [address, user, password] : candidates) {
        found.push_back(address + (user.empty() ? password : " " + user + ":" + password));
    }
    return found;
}

wirelink::ProxyValues Explicit(const char16_t* proxies, const char16_t* user = u"",
                               const char16_t* word = u"") {
    return {ProxyExplicit, proxies, user, word, u"", u"", false, true};
}

TEST(ProxyCandidatesTest, FollowTheOrderOfTheList) {
    using Texts = std::vector<std::string>;
    const wirelink::ProxyValues direct;
    const wirelink::ProxyValues noPac{.mode = ProxyWpad, .wpadUrl = u"http://127.0.0.1:1/p"};
    const std::pair<std::vector<wirelink::ProxyValues>, Texts> cases[] = {
        {{}, {""}},
        {{Explicit(u""), Explicit(u"socks=p:1"), {.mode = 7}, noPac}, {""}},
        {{direct, Explicit(u"p:3128"), direct}, {"", "http://p:3128/"}},
        {{{.mode = ProxyDirect, .username = u"u"}, direct}, {" u:", ""}},
        {{Explicit(u"a:1;b:2;a:1;;", u"", u"lost")}, {"http://a:1/", "http://b:2/"}},
        {{Explicit(u"a:1;a:1", u"u", u"w"), Explicit(u"a:1")},
         {"http://a:1/ u:w", "http://a:1/ u:w", "http://a:1/"}},
        {{Explicit(u"a:1;b:x;c:3"), Explicit(u"d:4")}, {"http://a:1/", "http://d:4/"}},
        {{Explicit(u"socks=p:1080;p:3128")}, {"http://p:3128/"}},
    };
    EXPECT_EQ(Candidates(nullptr), Texts{""});
    for (const auto& [entries, expected] : cases) {
        wirelink::ProxyList list;
        for (const auto& values : entries) list.AddEntry(new wirelink::ProxySetting(values));
        EXPECT_EQ(Candidates(&list), expected);
    }
}

// A helper that knows one script by its name, one that only this network announces, and one without a proxy.
TEST(ProxyCandidatesTest, AskPacFilesWithoutAWebSocketScheme) {
    TemporaryFolder folder;
    folder.Write("helper", R"(#!/bin/sh
case "$*" in
  "--discover") echo http://announced/pac ;;
  "https://h/p http://named/pac") echo "PROXY secure:1; DIRECT" ;;
  "https://h/p http://announced/pac") echo "HTTPS announced:3" ;;
  "https://h/p http://direct/pac") echo "DIRECT" ;;
  *) exit 1 ;;
esac)");
    std::filesystem::permissions(folder.PathOf("helper"), std::filesystem::perms::owner_all);
    folder.SetEnvironment("ORRERY_PAC_HELPER", folder.PathOf("helper"));
    const std::pair<const char16_t*, const char*> cases[] = {
        {u"http://named/pac", "http://secure:1/ u:w"},
        {u"", "https://announced:3/ u:w"},
        {u"http://direct/pac", ""},
        {u"http://unknown/pac", ""},
    };
    for (const auto& [script, expected] : cases) {
        wirelink::ProxyList list;
        list.AddEntry(new wirelink::ProxySetting(
            {.mode = ProxyWpad, .username = u"u", .password = u"w", .wpadUrl = script}));
        EXPECT_EQ(Candidates(&list), std::vector<std::string>{expected}) << ToUtf8(script);
    }
}

}  // namespace
}  // namespace orrery::test
