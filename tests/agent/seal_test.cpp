#include <gtest/gtest.h>

#include "agent/settings/sealed_list.h"

namespace orrery::agent {
namespace {

TEST(Seal, OnlyWhatTheModuleReadsIsSealedAndComesOutAgain) {
    const std::string list = "{\"ProxyConfig\":[{\"password\":\"p\u00E4ss\"}]}";
    std::string sealed, opened, problem;
    EXPECT_TRUE(SealList(list, sealed, problem)) << problem;
    for (const std::string& stored : {sealed, list}) {
        EXPECT_TRUE(OpenList(stored, opened, problem)) << problem;
        EXPECT_EQ(opened, list);
    }
    for (const std::string& text : {list.substr(1), list + '\0', std::string(R"({"ProxyConfig":{}})"),
                                    std::string("{\"ProxyConfig\":[\"\xFF\"]}")})
        EXPECT_FALSE(SealList(text, sealed, problem)) << text;
}

}  // namespace
}  // namespace orrery::agent
