#include "foundation/json/message_object.h"

#include <gtest/gtest.h>

namespace orrery {
namespace {

std::string Written(const ISerializableClass& node) {
    std::string text;
    WideString wide;
    EXPECT_EQ(node.SerializeUtf8(text), node.Serialize(wide));
    EXPECT_EQ(text, ToUtf8(wide)) << "both forms say the same";
    return text;
}

TEST(MessageObject, ReadsAndWrites) {
    const char* const refused = "before";
    const char* const cases[][3] = {
        {"later scalar in the first place", R"({"a":1,"b":2,"a":"x"})", R"({"a":"x","b":2})"},
        {"objects stand side by side", R"({"b":1,"a":{},"b":{}})", R"({"b":1,"a":{},"b":{}})"},
        {"scalar replaces object", R"({"a":{"b":1},"a":null})", R"({"a":null})"},
        {"empty keys", R"({"":[],"":[],"":1})", R"({1,[]})"},
        {"kinds of numbers", "[4294967296,1.0,1e-7,-2.5]", "[4294967296,1.000000,0.000000,-2.500000]"},
        {"escapes", R"({"a":"\"\\n\r\n\t\/\u0001"})", "{\"a\":\"\\\"\\\\n\\r\\n\t/\x01\"}"},
        {"beyond the basic plane", R"(["a\ud83d\ude00\n😀é"])", R"(["a😀\n😀é"])"},
        {"each of its planes", R"({"\uD842\udFB7":"\ud800\uDc00\udbff\udfff"})",
         "{\"𠮷\":\"𐀀\xF4\x8F\xBF\xBF\"}"},
        {"backslashes are no escapes", R"(["\\ud842\\udfb7","\"\ud842\udfb7"])",
         R"(["\\ud842\\udfb7","\"𠮷"])"},
        {"a pair in two texts", R"(["\ud842","\udfb7"])", refused},
        {"comma at an end", R"({"a":[1,]})", refused},
        {"comma and blanks at an end", "{\"a\":1, \t\r\n}", refused},
        {"commas in texts", R"({"a,}":",] \\",",":[ ]})", R"({"a,}":",] \\",",":[]})"},
        {"texts end at NUL", R"({"k\u0000ey":"te\u0000xt"})", R"({"k":"te"})"},
        {"white space, byte order mark", "\xEF\xBB\xBF { \"a\" : [ true , \"\" ] } ", R"({"a":[true,""]})"},
        {"infinity has no form", "[1e999]", ""}};
    for (const auto& [name, in, out] : cases) {
        CMessageObject object(u"before");
        const bool parsed = object.Parse(std::string(in));
        EXPECT_EQ(parsed ? Written(object) : ToUtf8(object.name), out) << name;
    }
}

TEST(MessageObject, AKeyIsFoundAgainAmongThousands) {
    constexpr size_t count = 50'000;  // more than a block of the parser's memory holds
    CMessageObject object;
    for (size_t i = 0; i < count; ++i) object.AddItem(CMessageItem(ToWide(std::to_string(i)), true), false);
    object.AddItem(CMessageItem(u"7", false), false);  // a second one of its key
    ASSERT_TRUE(object.Parse(Written(object)));
    EXPECT_EQ(object.items.size(), count);
    EXPECT_FALSE(object.items[7].value.boolean) << "the first gave way";
}

TEST(MessageObject, DepthIsLimitedBeforeItCosts) {
    const auto nested = [](size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
    CMessageObject object;
    EXPECT_TRUE(object.Parse("[\"" + nested(600) + "\\\"[[\"," + nested(511) + "," + nested(511) + "]"));
    EXPECT_TRUE(object.Parse(nested(512)));
    EXPECT_FALSE(object.Parse(nested(513)));
    EXPECT_FALSE(object.Parse(std::string(5'000'000, '[')) || object.Parse(std::string(5'000'000, '{')));
    EXPECT_EQ(Written(CMessageObject(object)), nested(512)) << "what was refused has changed nothing";
}

TEST(MessageObject, MembersAreAddedAndReadByTheirKind) {
    enum class Answer : uint32_t { No = 0xFFFFFFFF };
    CMessageObject object(u"name");
    object.AddInt32(u"i", -1);
    object.AddEnum(u"e", Answer::No);
    object.AddObject(u"o", true)->AddBool(u"b", true);
    object.AddObject(u"o", false);
    CMessageObject* const list = object.AddArray(u"l");
    list->AddUInt32({}, 1);
    list->AddUInt32({}, 1);
    object.AddString(u"i", u"new");
    EXPECT_TRUE(object.Remove(u"o")) << "the first of two";
    EXPECT_EQ(Written(object), R"("name":{"i":"new","e":18446744073709551615,"o":{},"l":[1,1]})");
    WideString text = u"-";
    int32_t number = -7;
    const CMessageObject* child = nullptr;
    EXPECT_FALSE(object.GetString(u"e", text) || object.GetInt(u"i", number) ||
                 object.GetObject(u"l", child) || object.GetArray(u"o", child) ||
                 object.GetString(u"I", text));
    EXPECT_TRUE(text == u"-" && number == -7 && !child) << "a failed getter leaves its output alone";
    EXPECT_TRUE(object.GetInt(u"e", number) && number == -1) << "the lower half";
}

TEST(MessageObject, MovesLeaveNothingBehindAndMayComeFromWithin) {
    CMessageObject object;
    ASSERT_TRUE(object.Parse(std::string(R"({"a":{"b":{"c":[1,2]}}})")));
    CMessageItem taken(std::move(object.items[0]));
    EXPECT_TRUE(object.items[0].kind == KindNone && object.items[0].name.empty());
    EXPECT_EQ(Written(object), "") << "not writable";
    taken = std::move(taken.value.object->items[0]);  // "b" takes the place of its parent
    EXPECT_EQ(Written(taken), R"("b":{"c":[1,2]})");
    CMessageObject& within = *taken.value.object;
    within = *within.items[0].value.object;  // a copy of its own child
    object.AddObjectCopy(within);
    object = std::move(*object.items.back().value.object);
    EXPECT_EQ(Written(object), Written(within));
    EXPECT_EQ(Written(object), R"("c":[1,2])");
}

}  // namespace
}  // namespace orrery
