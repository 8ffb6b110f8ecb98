#include "agent/settings_import.h"

#include <gmock/gmock.h>

namespace orrery::agent {
namespace {

using testing::ElementsAre;
using testing::Pair;

TEST(SettingsImport, LinesAndJsonGiveTheSame) {
    for (const char* text :
         {"# comment\r\n\n  a.b.c = x=y \r\na.b.d=\n", R"( {"a.b.c":" x=y ","a.b.d":""})"}) {
        SettingsList settings;
        std::string problem;
        ASSERT_TRUE(ReadSettingsText(text, settings, problem)) << problem;
        EXPECT_THAT(settings, ElementsAre(Pair("a.b.c", " x=y "), Pair("a.b.d", ""))) << text;
    }
}

TEST(SettingsImport, AnythingWrongIsNamed) {
    const std::pair<const char*, const char*> cases[] = {
        {"a.b.c=1\nnonsense\n", "line 2"},
        {"a.b=1", "line 1"},
        {"a..c=1", "line 1"},
        {".b.c=1", "line 1"},
        {"a.b.=1", "line 1"},
        {R"({"a.b.c":1})", "a.b.c"},
        {R"({"a.b.c":"x\u0000y"})", "a.b.c"},
        {R"({"a.b":"x"})", "a.b"},
        {R"({"a.b.c":"x")", "JSON"},
    };
    for (const auto& [text, named] : cases) {
        SettingsList settings;
        std::string problem;
        EXPECT_FALSE(ReadSettingsText(text, settings, problem)) << text;
        EXPECT_THAT(problem, testing::HasSubstr(named));
    }
}

}  // namespace
}  // namespace orrery::agent
