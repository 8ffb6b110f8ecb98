#include <gmock/gmock.h>

#include "messaging/message_records.h"
#include "messaging/proxy_config.h"
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
using testing::IsSupersetOf;
using testing::Pair;

struct Exchanges : WirelinkTest {
    Exchanges() { message.AddString(u"a", u"\u00FC\u20AC"); }
    // A dispatcher and a request of their own each time, so that nothing is held behind them.
    uint32_t Exchange(bool isDownload, ProxyRecord* proxyUsed = nullptr) {
        CRequestBody body(&message);
        WebApiRequest request(nullptr, u"", hasBody ? &body : nullptr, u"M", {}, u"h");
        request.AddHeader(u"x-zelko-messageId", u"m");
        request.SetFlags(5);
        WirelinkRequestDispatcher dispatcher(nullptr, logsMessages);
        response = std::make_unique<WebApiResponse>(nullptr);
        return isDownload ? dispatcher.Download(request, u"C:\\f", *response)
                          : dispatcher.Send(request, 7, *response, proxyUsed);
    }
    uint32_t Send(ProxyRecord* proxyUsed = nullptr) { return Exchange(false, proxyUsed); }
    uint32_t Download() { return Exchange(true); }

    TestClock clock;  // 2023-11-14 22:13:20 UTC
    CMessageObject message;
    bool hasBody = true, logsMessages = false;
    std::unique_ptr<WebApiResponse> response;
};

TEST_F(Exchanges, ASendGoesOutInOrderAndByTheServersClock) {
    WirelinkRequestDispatcher::serverClockOffset = 3600;
    config.Set(u"Communications.M.User-Agent", u"agent");
    config.Set(
        u"Communications.CertificateTrustworthiness.Settings",
        uR"({"Enabled":0,"TrustedCertificatesByDomain":{"b":[1,"x",""],"a":{"k":"y","l":"z"},"c":"x","d":[]}})");
    EXPECT_EQ(Send(), 0U);
    EXPECT_THAT(
        wire.Take(),
        ElementsAre(
            "connect agent h POST 15", "header Accept application/json", "header Accept-encoding gzip",
            "header x-zelko-messageDate 2023-11-14T22:13:20.000Z", "header x-zelko-messageId m",
            "use proxies direct fallback", "free list", "trust on", "trust a y z", "trust b x", "trust d",
            "use trust",
            "send application/json {\"a\":\"\u00FC\u20AC\"} 7 as id by ZWS with secret for the Web API at "
            "2023-11-14T23:13:20.000",
            "ask headers", "ask proxy", "free entry", "init reply", "receive", "destroy connection",
            "free reply", "destroy store"));
    EXPECT_EQ(WirelinkRequestDispatcher::serverClockOffset, 3600) << "the reply bore no date";
}

// Not even an entry for it is made where nobody wants to know.
TEST_F(Exchanges, ADownloadAsksForItsProxyOnlyForTheRecord) {
    uint32_t statusThen = 0;
    wire.knobs.onProxyAsked = [&] { statusThen = response->GetStatus(); };
    EXPECT_EQ(Download(), 0U);
    const std::vector<std::string> calls = wire.Take();
    const auto download = std::find(calls.begin(), calls.end(), "download C:\\f");
    EXPECT_THAT(std::vector(download, calls.end()),
                ElementsAre("download C:\\f", "ask headers", "init reply", "receive", "destroy connection",
                            "free reply", "destroy store"));
    logsMessages = true;
    EXPECT_EQ(Download(), 0U);
    EXPECT_THAT(wire.Take(), IsSupersetOf({"ask proxy", "free entry"}));
    EXPECT_EQ(statusThen, 200U);
}

TEST_F(Exchanges, WhatCameBackIsHandedOn) {
    const struct {
        const char* scenario;
        bool isDownload;
        WirelinkKnobs knobs;
        uint32_t result, status;
        bool isReceived;
    } cases[] = {{"sent", false, {}, 0, 403, true},
                 {"no lists and entries", false, {.makesOthers = false}, 0, 403, true},
                 {"not sent", false, {.sendResult = 12029}, 12029, 0, false},
                 {"no reply", false, {.receiveResult = 12030}, 12030, 0, false},
                 {"not modified", true, {.sendResult = 1246}, 1246, 403, true},
                 {"not downloaded", true, {.sendResult = 12029}, 12029, 403, false},
                 {"no headers", true, {.receiveResult = 12030}, 12030, 403, false},
                 {"no connection", true, {.connects = false}, 13, 0, false}};
    for (const auto& [scenario, isDownload, knobs, result, status, isReceived] : cases) {
        SCOPED_TRACE(scenario);
        wire.knobs = knobs;
        wire.knobs.reply = {.size = 40,
                            .status = 403,
                            .headers = u"E: f",
                            .content = "c",
                            .contentSize = 1,
                            .date = {2023, 11, 2, 14, 22, 13, 18, 500}};
        wire.knobs.proxyUsed = {.mode = ProxyWpad};
        WirelinkRequestDispatcher::serverClockOffset = 0;
        ProxyRecord used;
        EXPECT_EQ(Exchange(isDownload, &used), result);
        EXPECT_EQ(response->GetStatus(), status);
        EXPECT_EQ(response->GetContentSize(), isReceived && !isDownload ? 1U : 0U);
        EXPECT_EQ(WirelinkRequestDispatcher::serverClockOffset, isReceived && !isDownload ? -1 : 0);
        HeaderMap headers;
        response->GetHeaders(headers);
        EXPECT_EQ(headers.contains(u"E"), isReceived);
        EXPECT_EQ(used.Mode == ProxyWpad, !isDownload && knobs.makesOthers && knobs.sendResult == 0);
    }
}

TEST_F(Exchanges, NothingIsSentWithoutConnectionBodyOrSecret) {
    wire.knobs.connects = false;
    EXPECT_EQ(Send(), 13U);
    wire.knobs.connects = true;
    hasBody = false;
    EXPECT_EQ(Send(), 87U);
    hasBody = true;
    config.DeleteValue(u"Communications.Authorization.Secret");
    EXPECT_EQ(Send(), 1610U);
    EXPECT_THAT(wire.Take(), testing::Not(testing::Contains("init reply")));
    EXPECT_TRUE(environment.MessageFiles().empty());
}

TEST_F(Exchanges, RecordsTellTheProxyAndWholeRepliesOnly) {
    const std::pair<int32_t, WideString> proxies[] = {{ProxyDirect, u"\r\nProxy=No proxy\r\n"},
                                                      {ProxyExplicit, u"\r\nProxy=p:1;q\r\n"},
                                                      {ProxyWpad, u"\r\nProxy=WPAD (http://w)\r\n"},
                                                      {3, u"\r\nProxy=\r\n"}};
    WebApiRequest request(nullptr, u"", nullptr, u"M", {}, u"h");
    for (const auto& [mode, line] : proxies) {
        const wirelink::ProxySetting proxy({.mode = mode, .proxyList = u"p:1;q", .wpadUrl = u"http://w"});
        EXPECT_NE(RequestRecord(request, u"h", 0, nullptr, &proxy, {}).find(line), WideString::npos);
    }
    const TransportResponse reply{.size = 39, .status = 200, .headers = u"E: f", .date = {}};
    EXPECT_EQ(ResponseRecord(reply, 0, {}), u"\r\n[RESPONSE]\r\nTime=0000-00-00 00:00:00.000\r\n");
}

// Byte for byte; each exchange replaces the file of the one before.
TEST_F(Exchanges, MessageFilesTellEachExchange) {
    const bool isLatin = std::getenv("LOCPATH") != nullptr;
    const std::string start =
        "[REQUEST]\r\nTime=2023-11-14 23:13:20.000\r\nVerb=POST\r\nURL=h\r\nUser-Agent=\r\n";
    const std::string accept = "Headers=Accept: application/json | Accept-encoding: gzip | ";
    const std::string stamps = "x-zelko-messageDate: 2023-11-14T22:13:20.000Z | x-zelko-messageId: m | \r\n";
    const std::string body = isLatin ? "Body={\"a\":\"\xFC?\"}\r\n" : "Body={\"a\":\"\u00FC\u20AC\"}\r\n";
    const std::string head = "\r\n[RESPONSE]\r\n", time = "Time=2023-11-14 23:13:20.000\r\n";
    const std::string content = std::string("1\r\n") + (isLatin ? "\xFC" : "\uFFFD") + "\r\n";
    const std::string sent = start + "Proxy=No proxy\r\n" + accept + "Sent: so | " + stamps + body;
    const struct {
        bool isDownload;
        uint32_t result;
        std::string file;
    } cases[] = {
        {false, 0,
         sent + head + time + "HTTPStatusCode=304\r\nResponseContent=" + content + "Headers=E: f |  | \r\n"},
        {false, 0x80000001,
         start + accept + stamps + body + "LastError=-2147483647\r\n" + head + "LastError=-2147483647\r\n" +
             time},
        {true, 0, sent + "HTTPStatusCode=304\r\n"}};
    clock.offset = 3600;
    logsMessages = true;
    wire.knobs.reply = {.size = 40,
                        .status = 304,
                        .headers = u"E: f\r\n\r\n",
                        .content = "1\r\n\xFC",
                        .contentSize = 4,
                        .date = {}};
    for (const auto& [isDownload, result, file] : cases) {
        wire.knobs.sendResult = result;
        EXPECT_EQ(Exchange(isDownload), result);
        EXPECT_THAT(environment.MessageFiles(), ElementsAre(Pair("M 2023.11.14 23.13.20.000.log", file)));
    }
}

// The page is settled once in a process: another one runs the test above in a page that lacks characters.
TEST_F(Exchanges, MessageFilesKeepToTheCodePage) {
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
