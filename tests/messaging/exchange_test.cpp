#include <gmock/gmock.h>

#include "messaging/proxy_config.h"
#include "messaging/request_body.h"
#include "messaging/web_api_request.h"
#include "messaging/web_api_response.h"
#include "messaging/wirelink_request_dispatcher.h"
#include "support/test_clock.h"
#include "support/test_environment.h"

namespace orrery::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsSupersetOf;
using testing::Not;
using testing::Pair;

struct Exchanges : WirelinkTest {
    Exchanges() { message.AddString(u"a", u"\u00FC\u20AC"); }
    // A dispatcher and a request of their own each time, so that nothing is held behind them.
    uint32_t Exchange(bool isDownload, ProxyRecord* proxyUsed = nullptr) {
        CRequestBody body(&message);
        WebApiRequest request(nullptr, u"", &body, u"M", {}, u"h");
        request.AddHeader(u"x-zelko-messageId", u"m");
        request.SetFlags(5);
        WirelinkRequestDispatcher dispatcher(nullptr, logsMessages);
        response = std::make_unique<WebApiResponse>(nullptr);
        return isDownload ? dispatcher.Download(request, u"C:\\f", *response)
                          : dispatcher.Send(request, 7, *response, proxyUsed);
    }

    TestClock clock;  // 2023-11-14 22:13:20 UTC
    CMessageObject message;
    bool logsMessages = false;
    std::unique_ptr<WebApiResponse> response;
    TransportResponse reply{.size = 40,
                            .status = 403,
                            .headers = u"E: f\r\n\r\n",
                            .content = "1\r\n\xFC",
                            .contentSize = 4,
                            .date = {}};
};

TEST_F(Exchanges, ASendGoesOutInOrderAndByTheServersClock) {
    WirelinkRequestDispatcher::serverClockOffset = 3600;
    config.Set(u"Communications.M.User-Agent", u"agent");
    config.Set(
        u"Communications.CertificateTrustworthiness.Settings",
        uR"({"Enabled":0,"TrustedCertificatesByDomain":{"b":[1,"x",""],"a":{"k":"y","l":"z"},"c":"x","d":[]}})");
    EXPECT_EQ(Exchange(false), 0U);
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
    EXPECT_EQ(Exchange(true), 0U);
    EXPECT_THAT(wire.Take(), Not(Contains("free entry")));
    logsMessages = true;
    EXPECT_EQ(Exchange(true), 0U);
    EXPECT_THAT(wire.Take(), IsSupersetOf({"download C:\\f", "ask proxy", "free entry"}));
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
                 {"no connection", true, {.connects = false}, 13, 0, false}};
    reply.date = {2023, 11, 2, 14, 22, 13, 18, 500};
    for (const auto& [scenario, isDownload, knobs, result, status, isReceived] : cases) {
        SCOPED_TRACE(scenario);
        wire.knobs = knobs;
        wire.knobs.reply = reply;
        wire.knobs.proxyUsed = {.mode = ProxyWpad};
        WirelinkRequestDispatcher::serverClockOffset = 0;
        ProxyRecord used;
        EXPECT_EQ(Exchange(isDownload, &used), result);
        EXPECT_EQ(response->GetStatus(), status);
        EXPECT_EQ(response->GetContentSize(), isReceived && !isDownload ? 4U : 0U);
        EXPECT_EQ(WirelinkRequestDispatcher::serverClockOffset, isReceived && !isDownload ? -1 : 0);
        HeaderMap headers;
        response->GetHeaders(headers);
        EXPECT_EQ(headers.contains(u"E"), isReceived);
        EXPECT_EQ(used.Mode == ProxyWpad, !isDownload && knobs.makesOthers && knobs.sendResult == 0);
    }
}

// Byte for byte; each exchange replaces the file of the one before.
TEST_F(Exchanges, MessageFilesTellEachExchange) {
    const std::string start =
        "[REQUEST]\r\nTime=2023-11-14 23:13:20.000\r\nVerb=POST\r\nURL=h\r\nUser-Agent=\r\n";
    const std::string accept = "Headers=Accept: application/json | Accept-encoding: gzip | ";
    const std::string stamps = "x-zelko-messageDate: 2023-11-14T22:13:20.000Z | x-zelko-messageId: m | \r\n";
    const std::string body = "Body={\"a\":\"\u00FC\u20AC\"}\r\n";
    const std::string head = "\r\n[RESPONSE]\r\n", time = "Time=2023-11-14 23:13:20.000\r\n";
    const std::string sent = start + "Proxy=p:1;q\r\n" + accept + "Sent: so | " + stamps + body;
    const struct {
        bool isDownload;
        uint32_t result;
        std::string file;
    } cases[] = {
        {false, 0,
         sent + head + time + "HTTPStatusCode=403\r\nResponseContent=1\r\n\uFFFD\r\nHeaders=E: f |  | \r\n"},
        {false, 0x80000001,
         start + accept + stamps + body + "LastError=-2147483647\r\n" + head + "LastError=-2147483647\r\n" +
             time},
        {true, 0, sent + "HTTPStatusCode=403\r\n"}};
    clock.offset = 3600;
    wire.knobs.proxyUsed = {.mode = ProxyExplicit, .proxyList = u"p:1;q"};
    logsMessages = true;
    wire.knobs.reply = reply;
    for (const auto& [isDownload, result, file] : cases) {
        wire.knobs.sendResult = result;
        EXPECT_EQ(Exchange(isDownload), result);
        EXPECT_THAT(environment.MessageFiles(), ElementsAre(Pair("M 2023.11.14 23.13.20.000.log", file)));
    }
}

}  // namespace
}  // namespace orrery::test
