#include <gmock/gmock.h>

#include "events/dispatcher_helper.h"
#include "messaging/request_body.h"
#include "messaging/web_api_request.h"
#include "messaging/web_api_response.h"
#include "messaging/wirelink_request_dispatcher.h"
#include "support/fake_wirelink.h"
#include "support/temporary_folder.h"
#include "support/test_clock.h"

namespace orrery::test {
namespace {

using testing::ElementsAre;
using testing::Pair;

struct WebApi : WirelinkTest {
    // A dispatcher of its own for each request, so that nothing is held behind it. With a path: a download.
    uint32_t Exchange(bool hasBody, bool logMessages, const WideString& path = {}) {
        CMessageObject message;
        message.AddString(u"a", u"\u00FC\u20AC");
        CRequestBody body(&message);
        WebApiRequest request(nullptr, u"", hasBody ? &body : nullptr, u"M", {}, u"h");
        request.AddHeader(u"x-zelko-messageId", u"m");
        request.SetFlags(5);
        WirelinkRequestDispatcher dispatcher(nullptr, logMessages);
        response = std::make_unique<WebApiResponse>(nullptr);
        return path.empty() ? dispatcher.Send(request, 7, *response, nullptr)
                            : dispatcher.Download(request, path, *response);
    }

    TestClock clock;  // 2023-11-14 22:13:20 UTC
    std::unique_ptr<WebApiResponse> response;
};

TEST_F(WebApi, UrlsAreBuiltAndFilled) {
    // Scheme, host, path, what follows it, values, URL.
    const std::tuple<WideString, WideString, WideString, WideString, UrlParameters, const char*> cases[] = {
        {u"s", u"h/", u"/p/", u"x", {}, "s://h/p/x"},
        {u"s:", u"h", u"", u"", {}, "s:h/"},
        {u"\\s", u"h\\a", u"\\p", u"\\x", {}, "/sh/a/p/x"},
        {u"s", u"", u"{ID}?x={x}&y={id}z&{q}", u"", {{u"Id", u"7"}}, "s://7?y=7z"},
        {u"s", u"h", u"{a}&x={x}", u"", {}, "s://h/{a}?x={x}"},  // a place that stays hides the others
        {u"s", u"h", u"{x}", u"", {{u"x", u"{x}"}}, "s://h/{x}"},
        {u"s", u"h", u"a&b={", u"", {}, "s://h/a?b={"},
        {u"s", u"h", u"a&b={", u"", {{u"x", u"1"}}, ""},
        {u"s", u"h", u"{x}", u"", {{u"X", u""}}, ""},
    };
    for (const auto& [scheme, host, path, relativePath, parameters, expected] : cases) {
        config.Set(u"Communications.M.Scheme", scheme);
        config.Set(u"Communications.Defaults.Hostname", host);
        config.Set(u"Communications.M.Path", path);
        WebApiRequest request(nullptr, u"", nullptr, u"M", parameters, relativePath);
        EXPECT_EQ(ToUtf8(request.GetUrl()), expected);
    }
    WebApiRequest download(nullptr, u"", nullptr, u"Download_File", {{u"f", u"x"}}, u"s://h\\");
    download.SetUrl(u"a\\{f}.bin");
    EXPECT_EQ(download.GetName() + download.GetUrl(), u"Download_File x.bins://h/a/x.bin");
}

TEST_F(WebApi, HeadersAreReadAndCompleted) {
    WideString many;
    for (int line = 0; line < 100'000; ++line) many += u"a line\n";
    const std::pair<WideString, HeaderMap> texts[] = {
        {u"  A: b\r\nC :d \r\n  E:  f g  ", {{u"A", u"b"}, {u"C", u"d"}, {u"E", u"f g"}}},
        {u"A: bc\n:x\r\nnone\r\na: d\r\nA: c\r\n\r\n", {{u"A", u"b"}, {u"a", u"d"}}},
        {u"A: b\r\nC:\r\nD: e", {{u"A", u"b"}}},  // ends at a line without a value
        {many + u"A: b", {{u"A", u"b"}}},
    };
    for (const auto& [text, expected] : texts) {
        HeaderMap headers;
        EXPECT_EQ(ParseHeaderText(text, headers), text.find(u"C:") == text.npos);
        EXPECT_EQ(headers, expected);
    }
    WebApiRequest request(nullptr, u"", nullptr, u"M", {}, u"");
    EXPECT_FALSE(request.AddHeaderText(u"A: b\r\nC:"));
    request.AddHeaders({{u"Accept", u"own"}, {u"Accept-encoding", u""}});
    HeaderMap first, headers;
    request.GetHeaders(first);
    clock.Advance(1);
    request.GetHeaders(headers);
    EXPECT_EQ(first, headers) << "id and date stay";
    EXPECT_EQ(headers.extract(u"x-zelko-messageId").mapped().size(), 36U);
    EXPECT_THAT(headers, ElementsAre(Pair(u"Accept", u"own"), Pair(u"Accept-encoding", u"gzip"),
                                     Pair(u"x-zelko-messageDate", u"2023-11-14T22:13:20.000Z")));
}

TEST_F(WebApi, ErrorRepliesHaveTheirActionsRun) {
    const std::pair<uint32_t, uint32_t> errors[] = {
        {0, 58},   {199, 58}, {200, 0},    {299, 0},  {300, 487},  {304, 1246}, {399, 487},
        {400, 53}, {403, 5},  {404, 1168}, {499, 53}, {500, 1352}, {599, 1352}, {600, 58}};
    for (const auto& [status, error] : errors) EXPECT_EQ(StatusToError(status), error) << status;

    std::string many = R"({"Actions":{)";
    for (int i = 0; i < 100'000; ++i) many += "\"A" + std::to_string(i) + "\":{},";
    const std::string rest = R"("Code":"c","Message":"m","ServerTime":"-12x"})";
    const std::tuple<uint32_t, std::string, const char*, size_t> cases[] = {
        {403, R"({"Actions":{"A":{"b":1},"n":1},)" + rest, "cm-12", 1},
        {200, R"({"Actions":{"A":{}},)" + rest, "0", 0},
        {404, R"({"Actions":{"A":{}},"Code":"c","Message":"m"})", "0", 0},
        {304, many + "}," + rest, "cm-12", 1},
        {500, R"({"Actions":{"A":{}},"Code":"c","Message":"m","ServerTime":1})", "0", 0},
        {403, R"({"Actions":[{"A":{}}],)" + rest, "cm-12", 0},
        {500, "<html>", "0", 0},
    };
    CDispatcherHelper dispatcher;
    WebApiResponse reply(&dispatcher);
    for (const auto& [status, content, expected, raised] : cases) {
        reply.SetResult({}, status, content.data(), static_cast<uint32_t>(content.size()));
        size_t count = 0;
        const CResponseEnvelope& envelope = *reply.GetEnvelope();
        EXPECT_EQ(ToUtf8(envelope.code + envelope.message) + std::to_string(envelope.serverTime), expected);
        for (const auto& [text, flag] : environment.eventgate.Take()) count += flag ? 100 : 1;
        EXPECT_EQ(count, raised) << content.substr(0, 80);
    }
}

TEST_F(WebApi, RequestsGoOutInOrder) {
    config.Set(
        u"Communications.CertificateTrustworthiness.Settings",
        uR"({"Enabled":0,"TrustedCertificatesByDomain":{"b":[1,"x",""],"a":{"k":"y","l":"z"},"c":"x"}})");
    wire.knobs.reply.date = {2023, 11, 2, 14, 23, 13, 20, 0};
    WirelinkRequestDispatcher::serverClockOffset = 0;
    // Service, version, what is signed with and when: by the server's clock, once that is known.
    const std::tuple<const char16_t*, const char16_t*, std::string> cases[] = {
        {u"ZWS", u" 2x", "2 ZWS2 id secret web 2023-11-14T22:13:20.000"},
        {u"zws", u"2", "1 ZWS id secret web 2023-11-14T23:13:20.000"},
        {u"ZWS", u"x2", "1 ZWS id secret web 2023-11-14T23:13:20.000"}};
    for (const auto& [service, version, signature] : cases) {
        config.Set(u"Communications.Authorization.AuthorizationService", service);
        config.Set(u"Communications.Authorization.AuthorizationServiceVersion", version);
        EXPECT_EQ(Exchange(true, false), 0U);
        EXPECT_THAT(
            wire.Take(),
            ElementsAre("connect  h POST 15", "header Accept application/json", "header Accept-encoding gzip",
                        "header x-zelko-messageDate 2023-11-14T22:13:20.000Z", "header x-zelko-messageId m",
                        "use proxies", "trust on", "trust a 2 y", "trust b 1 x", "use trust",
                        "send application/json {\"a\":\"\u00FC\u20AC\"} 7 " + signature, "receive"));
        wire.knobs.reply.date = {};  // changes nothing
    }
}

TEST_F(WebApi, AFailureLeavesTheResponseAlone) {
    const std::tuple<WirelinkKnobs, bool, uint32_t, const char*> cases[] = {
        {{.connects = false}, true, 13, "con"},
        {{}, false, 87, "use"},
        {{.sendResult = 12029}, true, 12029, "sen"},
        {{.receiveResult = 12030}, true, 12030, "rec"},
        {{}, true, 1610, "use"}};
    for (const auto& [knobs, hasBody, result, last] : cases) {
        if (result == 1610) config.DeleteValue(u"Communications.Authorization.Secret");
        wire.knobs = knobs;
        EXPECT_EQ(Exchange(hasBody, false), result);
        EXPECT_EQ(wire.Take().back().substr(0, 3), last);
        EXPECT_TRUE(response->GetStatus() == 0 && wire.held == 0) << result;
    }
    EXPECT_TRUE(environment.MessageFiles().empty());
}

// Byte for byte; the third exchange is a download, and each replaces the file of the one before.
TEST_F(WebApi, MessageFilesTellEachExchange) {
    const bool isLatin = std::getenv("LOCPATH") != nullptr;
    const std::string start =
        "[REQUEST]\r\nTime=2023-11-14 23:13:20.000\r\nVerb=POST\r\nURL=h\r\nUser-Agent=\r\n";
    const std::string accept = "Headers=Accept: application/json | Accept-encoding: gzip | ";
    const std::string stamps = "x-zelko-messageDate: 2023-11-14T22:13:20.000Z | x-zelko-messageId: m | \r\n";
    const std::string body = isLatin ? "Body={\"a\":\"\xFC?\"}\r\n" : "Body={\"a\":\"\u00FC\u20AC\"}\r\n";
    const std::string head = "\r\n[RESPONSE]\r\n", time = "Time=2023-11-14 23:13:20.000\r\n";
    const std::string content = std::string("1\r\n") + (isLatin ? "\xFC" : "\uFFFD") + "\r\n";
    const std::tuple<uint32_t, const char16_t*, std::string> cases[] = {
        {0, u"",
         start + "Proxy=No proxy\r\n" + accept + "Sent: so | " + stamps + body + head + time +
             "HTTPStatusCode=304\r\nResponseContent=" + content + "Headers=E: f |  | \r\n"},
        {0x80000001, u"",
         start + accept + stamps + body + "LastError=-2147483647\r\n" + head + "LastError=-2147483647\r\n" +
             time},
        {1246, u"C:\\f", start + accept + stamps + body + "LastError=1246\r\nHTTPStatusCode=304\r\n"}};
    clock.offset = 3600;
    wire.knobs.reply = {.size = 40,
                        .status = 304,
                        .headers = u"E: f\r\n\r\n",
                        .content = "1\r\n\xFC",
                        .contentSize = 4,
                        .date = {}};
    for (const auto& [result, path, expected] : cases) {
        wire.knobs.sendResult = result;
        EXPECT_EQ(Exchange(true, true, path), result);
        EXPECT_THAT(environment.MessageFiles(), ElementsAre(Pair("M 2023.11.14 23.13.20.000.log", expected)));
        EXPECT_EQ(response->GetStatus(), result == 0x80000001 ? 0U : 304U);
    }
}

// The page is settled once in a process: another one runs the test above in a page that lacks characters.
TEST_F(WebApi, MessageFilesKeepToTheCodePage) {
    const TemporaryFolder folder;
    // The C library doesn't free its copy of LOCPATH.
    const std::string locale = "ASAN_OPTIONS=detect_leaks=0 LC_ALL=latin LOCPATH=" + folder.PathOf("") + " ";
    if (std::system(("localedef -c -i en_US -f ISO-8859-1 " + folder.PathOf("latin") + " 2>&1").c_str()) != 0)
        GTEST_SKIP() << "no locale can be made here";
    const std::string self = std::filesystem::read_symlink("/proc/self/exe");
    const std::string log = folder.PathOf("log");
    const std::string run = locale + self + " --gtest_filter=*TellEachExchange >" + log + " 2>&1";
    // A filter that finds nothing is a success by itself.
    const std::string check = " && grep -q 'PASSED.* 1 test' " + log + " || { cat " + log + " >&2; false; }";
    EXPECT_EQ(std::system((run + check).c_str()), 0);
}

}  // namespace
}  // namespace orrery::test
