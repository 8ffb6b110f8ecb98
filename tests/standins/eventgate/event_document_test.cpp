#include "standins/eventgate/event_document.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orrery::eventgate {
namespace {

struct DocumentCase {
    const char* name;
    WideString text;
    std::vector<std::string> expected;  // empty: refused
};

class EventDocument : public testing::TestWithParam<DocumentCase> {};

TEST_P(EventDocument, IsTakenApartOrRefused) {
    std::vector<CMessageObject> events;
    EXPECT_EQ(ReadEvents(GetParam().text, events), !GetParam().expected.empty());
    std::vector<std::string> texts;
    for (const CMessageObject& event : events) {
        EXPECT_TRUE(event.SerializeUtf8(texts.emplace_back()));
    }
    EXPECT_EQ(texts, GetParam().expected);
}

const DocumentCase documentCases[] = {
    {"OneEvent", u"{\"A\":{\"x\":[1,null]}}", {"{\"A\":{\"x\":[1,null]}}"}},
    {"BareEvent", u" \n\"A\":{\"x\":\"}\"}", {"{\"A\":{\"x\":\"}\"}}"}},
    {"SeveralMembers",
     u"{\"B\":{},\"A\":{},\"B\":{\"x\":1}}",
     {"{\"B\":{}}", "{\"A\":{}}", "{\"B\":{\"x\":1}}"}},
    {"OtherMembersBesideAnEvent", u"{\"n\":1,\"l\":[{\"L\":{}}],\"A\":{},\"s\":\"\"}", {"{\"A\":{}}"}},
    {"Array", u"[{\"A\":{}},{\"B\":{},\"C\":{}}]", {"{\"A\":{}}", "{\"B\":{}}", "{\"C\":{}}"}},
    {"ArrayWithAMemberThatIsNoEvent", u"[{\"A\":{}},{\"B\":1}]", {}},
    {"ArrayWithANumber", u"[{\"A\":{}},1]", {}},
    {"ArrayOfArrays", u"[[{\"A\":{}}]]", {}},
    {"EmptyArray", u"[]", {}},
    {"EmptyObject", u"{}", {}},
    {"NoObjectMember", u"{\"A\":1,\"B\":[]}", {}},
    {"NoName", u"{\"\":{}}", {}},
    {"EmptyText", u"", {}},
    {"BareText", u"\"A\"", {}},
    {"Malformed", u"{\"A\":{}", {}},
    {"BareEventWithMoreBehind", u"\"A\":{}},{\"B\":{}", {}},
};

INSTANTIATE_TEST_SUITE_P(, EventDocument, testing::ValuesIn(documentCases),
                         [](const auto& entry) { return std::string(entry.param.name); });

}  // namespace
}  // namespace orrery::eventgate
