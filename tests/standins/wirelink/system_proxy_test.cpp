#include "standins/wirelink/system_proxy.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "platform/text.h"

namespace orrery::wirelink {
namespace {

struct EnvironmentCase {
    const char* name;
    std::map<std::string, std::string> environment;
    std::vector<std::string> expected;  // list|user|password, or "direct"
};

std::string TextOf(const ProxyValues& values) {
    if (values.mode == ProxyDirect) return "direct";
    return ToUtf8(values.proxyList + u"|" + values.username + u"|" + values.password);
}

class SystemProxy : public testing::TestWithParam<EnvironmentCase> {};

TEST_P(SystemProxy, IsReadFromTheEnvironment) {
    const auto& environment = GetParam().environment;
    const auto read = [&environment](const char* name) {
        const auto found = environment.find(name);
        return found == environment.end() ? nullptr : found->second.c_str();
    };
    std::vector<std::string> texts;
    for (const ProxyValues& values : EnvironmentProxies(read, true)) {
        texts.push_back(TextOf(values));
        EXPECT_TRUE(values.fallback);
    }
    EXPECT_EQ(texts, GetParam().expected);
}

const EnvironmentCase environmentCases[] = {
    {"None", {}, {"direct"}},
    {"EmptyAndUnreadable",
     {{"https_proxy", ""}, {"http_proxy", "http://"}, {"all_proxy", "a;b"}},
     {"direct"}},
    {"WithoutScheme", {{"https_proxy", "p:3128"}}, {"https=http://p:3128||"}},
    {"TwoProxies",
     {{"http_proxy", "http://p:1/"}, {"HTTPS_PROXY", "https://q:2/path?x"}},
     {"https=https://q:2;http=http://p:1||"}},
    {"OneForBoth", {{"http_proxy", "http://u@p:1"}, {"https_proxy", "u@p:1"}}, {"http://p:1|u|"}},
    {"AllFillsTheGap", {{"http_proxy", "p:1"}, {"ALL_PROXY", "q:2"}}, {"https=http://q:2;http=http://p:1||"}},
    {"LowerCaseFirst", {{"https_proxy", "p:1"}, {"HTTPS_PROXY", "q:2"}}, {"https=http://p:1||"}},
    {"UpperCaseHttpIsLeftOut", {{"HTTP_PROXY", "p:1"}}, {"direct"}},
    {"EncodedCredentials",
     {{"all_proxy", "http://d%5Cu%C3%A9:p%40%3a:w%zz%2@h@p:1"}},
     {"http://p:1|d\\u\u00e9|p@::w%zz%2@h"}},
    {"CredentialsApart",
     {{"https_proxy", "http://u:v@p:1"}, {"http_proxy", "http://q:2"}},
     {"https=http://p:1|u|v", "http=http://q:2||"}},
};

INSTANTIATE_TEST_SUITE_P(, SystemProxy, testing::ValuesIn(environmentCases),
                         [](const auto& entry) { return std::string(entry.param.name); });

}  // namespace
}  // namespace orrery::wirelink
