#include "events/event_sequence.h"

#include <regex>

#include "platform/error_codes.h"
#include "tests/events/events_fixture.h"

namespace orrery::test {
namespace {

// With "{id}" in place of the id that the sequence has given itself.
std::string TextOf(const CEventSequence& sequence) {
    static const std::regex id("\\{[0-9a-f-]{36}\\}");
    return std::regex_replace(ToUtf8(sequence.ToText()), id, "{id}");
}

TEST(EventSequence, ItsEventsBearItsStamps) {
    CEventSequence sequence(u"s");
    EXPECT_EQ(sequence.ToText(), u"");
    EXPECT_EQ(sequence.AddEvent(Parsed(R"({"EventId":"old","a":1})")), 0U);
    const WideString first = sequence.ToText(), id = first.substr(12, 38);
    EXPECT_EQ(first, u"{\"EventId\":\"" + id + u"\",\"a\":1,\"EventSource\":\"s\"}");
    EXPECT_TRUE(id.starts_with(u'{') && id.ends_with(u'}')) << ToUtf8(id);
    EXPECT_EQ(sequence.AddEvent(CMessageObject(u"N")), 0U);
    EXPECT_EQ(sequence.ToText(),
              u"[" + first + u",{\"N\":{\"EventId\":\"" + id + u"\",\"EventSource\":\"s\"}}]");
    CEventSequence scheduled(u"", u"task", u"now");
    EXPECT_EQ(scheduled.AddEvent(CMessageObject(u"N")), 0U);
    EXPECT_EQ(TextOf(scheduled),
              R"({"N":{"EventId":"{id}","EventSchedulerId":"task","SchedulerExecutionTime":"now"}})");
}

TEST(EventSequence, AnActionThatJsonCannotTellDoesNotCostItsSiblings) {
    const struct {
        const char* what;
        const char* member;  // between two good ones
        const char* raised = "";
    } cases[] = {
        {"an event", R"("A":{"b":[{"c":[]},[1,null]]})",
         R"({"A":{"b":[{"c":[]},[1,null]],"EventId":"{id}"}},)"},
        {"a key beyond ASCII", R"("ä€":{"\u007f":{}})", "{\"ä€\":{\"\x7f\":{},\"EventId\":\"{id}\"}},"},
        {"a number", R"("A":1)"},
        {"an array", R"("A":[{}])"},
        {"no key", R"("":{})"},
        {"a quote", R"("A\"":{})"},
        {"a backslash", R"("A\\":{})"},
        {"a control character", R"("A\u001f":{})"},
        {"a quote within", R"("A":{"b":{"c\"":1}})"},
        {"no key within an array", R"("A":{"b":[{"":1}]})"},
    };
    for (const auto& [what, member, raised] : cases) {
        CEventSequence sequence(u"");
        CMessageObject reply =
            Parsed(R"({"Code":"c","Actions":{"F":{},)" + std::string(member) + R"(,"G":{}}})");
        EXPECT_EQ(sequence.AddActions(std::move(reply)), 0U) << what;
        EXPECT_EQ(TextOf(sequence),
                  R"([{"F":{"EventId":"{id}"}},)" + std::string(raised) + R"({"G":{"EventId":"{id}"}}])")
            << what;
        WideString rest;
        EXPECT_TRUE(reply.Serialize(rest) && rest == u"{\"Code\":\"c\"}") << ToUtf8(rest);
    }
}

TEST(EventSequence, WhatIsNoEventIsRefused) {
    CEventSequence sequence(u"s");
    const std::pair<const char*, uint32_t> replies[] = {
        {"{}", NoData},
        {R"({"Actions":[{}]})", NoData},
        {R"({"Actions":"x"})", NoData},
        {R"({"Actions":{"a":1}})", NoData},
        {R"({"Actions":{"A":{"b":1e999}}})", InvalidParameter}};
    for (const auto& [reply, code] : replies) EXPECT_EQ(sequence.AddActions(Parsed(reply)), code) << reply;
    CMessageObject named;
    named.AddArray(u"a")->AddString(u"key in an array", u"");
    for (const CMessageObject& event :
         {named, Parsed("[]"), Parsed(R"({"\"":1})"), CMessageObject(u"\""), Parsed(R"({"a":1e999})")})
        EXPECT_EQ(sequence.AddEvent(event), InvalidParameter);
    EXPECT_TRUE(sequence.IsEmpty());
    EXPECT_EQ(sequence.AddEvent(CMessageObject(u"N")), 0U);
    EXPECT_EQ(sequence.AddActions(Parsed(R"({"Actions":{}})")), 0U) << "there is an event already";
}

}  // namespace
}  // namespace orrery::test
