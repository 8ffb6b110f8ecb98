#include <gmock/gmock.h>

#include "events/dispatcher_helper.h"
#include "messaging/web_api_request.h"
#include "messaging/web_api_response.h"
#include "support/test_clock.h"
#include "support/test_environment.h"

namespace orrery::test {
namespace {

using testing::ElementsAre;
using testing::Pair;

struct WebApi : EnvironmentTest {
    TestClock clock;  // 2023-11-14 22:13:20 UTC
};

TEST_F(WebApi, UrlsAreBuiltAndFilled) {
    // Scheme, host, path, what follows it, values, URL.
    const std::tuple<WideString, WideString, WideString, WideString, UrlParameters, const char*> cases[] = {
        {u"s", u"h/", u"/p/", u"x", {}, "s://h/p/x"},
        {u"\\s", u"h\\a", u"\\p", u"\\x", {}, "/sh/a/p/x"},
        {u"s", u"", u"{ID}?x={x}&y={id}z&{q}", u"", {{u"Id", u"7"}}, "s://7?y=7z"},
        {u"s", u"h", u"?x={x}&a=1&b={b}&c=2", u"", {}, "s://h/?a=1&c=2"},
        {u"s", u"h", u"{a}&x={x}", u"", {}, "s://h/{a}?x={x}"},  // a place that stays hides the others
        {u"s", u"h", u"{x}", u"", {{u"x", u"{x}"}}, "s://h/{x}"},
        {u"s", u"h", u"{x}{\u00DC}", u"", {{u"x", u"1"}, {u"\u00FC", u"2"}}, "s://h/12"},
        {u"s", u"h", u"a&b={", u"", {{u"x", u"1"}}, ""}};
    for (const auto& [scheme, host, path, relativePath, values, url] : cases) {
        config.Set(u"Communications.M.Scheme", scheme);
        config.Set(u"Communications.Defaults.Hostname", host);
        config.Set(u"Communications.M.Path", path);
        WebApiRequest request(nullptr, u"", nullptr, u"M", {}, relativePath);
        request.SetParameters(values);
        EXPECT_EQ(ToUtf8(request.GetUrl()), url);
    }
}

TEST_F(WebApi, HeaderTextsAreRead) {
    const std::pair<WideString, HeaderMap> texts[] = {
        {u"  A: b\r\nC :d \r\n  E:  f g  ", {{u"A", u"b"}, {u"C", u"d"}, {u"E", u"f g"}}},
        {u"A: bc\n:x\r\nnone\r\na: d\r\nA: c\r\n\r\n", {{u"A", u"b"}, {u"a", u"d"}}},
        {u"A: b\r\nC:\r\nD: e", {{u"A", u"b"}}}};  // ends at a line without a value
    for (const auto& [text, expected] : texts) {
        HeaderMap headers;
        EXPECT_EQ(ParseHeaderText(text, headers), text.find(u"C:") == text.npos);
        EXPECT_EQ(headers, expected);
    }
}

TEST_F(WebApi, HeadersThatAreThereStay) {
    config.Set(u"Communications.Defaults.Verb", u"PUT");
    WebApiRequest request(nullptr, u"", nullptr, u"M", {}, u"");
    EXPECT_FALSE(request.SetHeaderText(u"A: 1\r\nC:"));
    request.AddHeaders({{u"A", u"2"}, {u"Accept", u"own"}, {u"Accept-encoding", u""}});
    EXPECT_TRUE(request.AddHeaderText(u"A: 3\r\nC: 3"));
    EXPECT_FALSE(request.AddHeaderText(u"D: 4\r\nE:"));
    HeaderMap first, headers;
    request.GetHeaders(first);
    clock.Advance(1);
    request.GetHeaders(headers);
    EXPECT_EQ(first, headers) << "id and date";
    EXPECT_EQ(headers.extract(u"x-zelko-messageId").mapped().size(), 36U);
    EXPECT_THAT(headers,
                ElementsAre(Pair(u"A", u"1"), Pair(u"Accept", u"own"), Pair(u"Accept-encoding", u"gzip"),
                            Pair(u"C", u"3"), Pair(u"x-zelko-messageDate", u"2023-11-14T22:13:20.000Z")));
}

TEST_F(WebApi, StatusesMeanErrors) {
    const std::pair<uint32_t, uint32_t> errors[] = {
        {0, 58},   {199, 58}, {200, 0},    {299, 0},  {300, 487},  {304, 1246}, {399, 487},
        {400, 53}, {403, 5},  {404, 1168}, {499, 53}, {500, 1352}, {599, 1352}, {600, 58}};
    for (const auto& [status, error] : errors) EXPECT_EQ(StatusToError(status), error) << status;
}

TEST_F(WebApi, ErrorRepliesHaveTheirActionsRun) {
    const std::string rest = R"("Code":"c","Message":"m","ServerTime":"-12x"})";
    const struct {
        uint32_t status;
        std::string content;
        bool isEnvelope;
        size_t raised;
    } cases[] = {{403, R"({"Actions":{"A":{"b":1},"n":1},)" + rest, true, 1},
                 {200, R"({"Actions":{"A":{}},)" + rest, false, 0},
                 {404, R"({"Actions":{"A":{}},"Code":"c","Message":"m"})", false, 0},
                 {403, R"({"Actions":[{"A":{}}],)" + rest, true, 0},
                 {500, "<html>", false, 0}};
    CDispatcherHelper dispatcher;
    WebApiResponse reply(&dispatcher);
    for (const auto& [status, content, isEnvelope, raised] : cases) {
        SCOPED_TRACE(content.substr(0, 80));
        reply.SetResult({}, status, content.data(), static_cast<uint32_t>(content.size()));
        const CResponseEnvelope& envelope = *reply.GetEnvelope();
        EXPECT_EQ(envelope.code + envelope.message, isEnvelope ? u"cm" : u"");
        EXPECT_EQ(envelope.serverTime, isEnvelope ? -12 : 0);
        const std::vector<RaisedEvent> events = environment.eventgate.Take();
        EXPECT_EQ(events.size(), raised);
        EXPECT_TRUE(events.empty() || !events[0].second) << "as a remote one";
    }
}

}  // namespace
}  // namespace orrery::test
