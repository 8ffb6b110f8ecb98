#include "channel/socket/proxy_candidates.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "standins/wirelink/proxy/proxy_list.h"

namespace orrery::test {
namespace {

TEST(ProxyCandidatesTest, ReadsAddresses) {
    const std::pair<const char*, const char*> cases[] = {
        {"proxy", "http://proxy/"},
        {"HTTP=PROXY:3128", "http://proxy:3128/"},
        {"p:3128/", "http://p:3128/"},
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

}  // namespace
}  // namespace orrery::test
