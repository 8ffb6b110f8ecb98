#include <zlib.h>

#include <array>
#include <filesystem>

#include "platform/files.h"
#include "standins/wirelink/http/response_record.h"
#include "standins/wirelink/services/service_client.h"
#include "standins/wirelink/signature/request_signature.h"
#include "support/call_log.h"
#include "support/held_call.h"
#include "transport_test.h"

namespace orrery::wirelink {
namespace {

using namespace std::string_literals;

using ConnectionTest = TransportTest;

ptrdiff_t FilesIn(const std::string& folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

// What stands in `request` between `begin` and the line's end.
std::string Line(const std::string& request, const std::string& begin) {
    const size_t at = request.find(begin) + begin.size();
    return request.substr(at, request.find("\r\n", at) - at);
}

std::string Deflated(const std::string& plain) {
    std::string packed(compressBound(plain.size()), '\0');
    uLongf size = packed.size();
    compress(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(plain.data()),
             plain.size());
    return packed.substr(0, size);
}

const std::string gzipped =
    "\x1f\x8b\x08\0\0\0\0\0\x02\xff\x2b\xc8\x49\xcc\xcc\x53\x28\x49\xad\x28\x01\0\xb8\x0f\x0b\x44\x0a\0\0\0"s;

TEST_F(ConnectionTest, EachFaultIsAnErrorAndTheNextCallWorks) {
    const std::string head = "HTTP/1.1 200 OK\r\n";
    const std::pair<Answer, uint32_t> cases[] = {
        {{""}, ConnectionCut},
        {{head + "Content-Length: 0\r\n"}, ConnectionCut},
        {{head + "Content-Length: 9\r\n\r\nabc"}, ConnectionCut},
        {{"", true}, TimedOut},
        {{head + "Content-Length: 2\r\n\r\na", true}, TimedOut},
        {{Ok(std::string(70'001, 'a'))}, ReplyTooLarge},
        {{Ok("", "A: " + std::string(2048, 'a') + "\r\n")}, HeadersTooLarge},
        {{Ok("", "A: " + std::string(120'000, 'a') + "\r\n")}, HeadersTooLarge},
        {{Ok(gzipped.substr(0, 14) + "broken", "Content-Encoding: gzip\r\n")}, BadServerReply},
        {{Ok(gzipped, "Content-Encoding: gzip\r\nContent-Encoding: gzip\r\n")}, BadServerReply},
        {{Ok("a", "Content-Encoding: gzip;q=1\r\n")}, BadServerReply},
        {{"hello\r\n\r\n"}, BadServerReply},
    };
    Send(*Open("http://h.invalid/"));
    const ptrdiff_t before = FilesIn("/proc/self/fd");
    for (const auto& [answer, expected] : cases) {
        ScriptedServer server({answer, {Ok("fine")}});
        const auto connection = Open(server.url);
        EXPECT_EQ(Send(*connection), expected) << answer.bytes;
        EXPECT_FALSE(connection->Reply());
        EXPECT_EQ(Send(*connection), Success);
    }
    EXPECT_EQ(FilesIn("/proc/self/fd"), before);
}

TEST_F(ConnectionTest, RepliesComeInPlainFormWithTheirOwnHeaders) {
    const std::string date = "Date: Sun, 06 Nov 1994 08:49:37 GMT\r\n";
    const std::string large(60'000, 'b');
    const std::tuple<std::string, uint32_t, std::string> cases[] = {
        {Ok(gzipped, date + "Content-Encoding: gzip\r\n"), 200, "plain text"},
        {Ok(gzipped, date + "Content-Encoding: identity, \r\ncontent-encoding: GZip\r\n"), 200, "plain text"},
        {Ok("a", date + "Content-Encoding: Identity\r\n"), 200, "a"},
        {Ok(Deflated(large), date + "content-encoding:deflate\r\n"), 200, large},
        {"HTTP/1.0 302 Found\r\n" + date + "Location: /\r\n\r\nmove", 302, "move"},
        {"HTTP/1.1 103 Early\r\nLink: x\r\n\r\nHTTP/1.1 407 No\r\n" + date + "\r\n", 407, ""},
    };
    for (const auto& [answer, status, body] : cases) {
        ScriptedServer server({{answer}});
        const auto connection = Open(server.url);
        TransportResponse response;
        EXPECT_EQ(connection->Receive(&response), NothingReceived);
        EXPECT_EQ(Send(*connection) + connection->Receive(&response), Success);
        const std::string received(static_cast<const char*>(response.content), response.contentSize);
        EXPECT_EQ(std::tuple(response.status, received), std::tuple(status, body));
        EXPECT_TRUE(response.date.year == 1994 && response.date.second == 37);
        EXPECT_TRUE(Narrow(response.headers).starts_with(date)) << Narrow(response.headers);
        for (int i = 0; i < 2; ++i) EmptyResponse(response);
    }
}

// Whatever the URL looks like, the signature is over the request line that goes out.
TEST_F(ConnectionTest, SignsWhatGoesOut) {
    AuthorizationInfo device{2, {2026, 1, 5, 2, 3, 4, 5, 678}, "orrery-development", u"ZWS2", u"demo-device"};
    ScriptedServer server({{Ok("")}});
    const std::string body = R"({"NotificationProvider":6,"RecipientId":"n-1"})";
    Open(server.url + "/webapi/bind")->SendSigned(u"application/json", body.data(), 46, 0, &device);
    const std::string signature = "br9dupC/KW0hR3GEg8W7aGi1snrwVxmUJZPDQYLLy4E=";
    EXPECT_EQ(Line(server.Received()[0], "Authorization: "), "ZWS2 demo-device:" + signature);
    device = {1, {}, "secret", u"ZWS", u"a:b"};
    for (const char* target : {"", "?", "/a/../b c/\u00e9?x=1&y=\u00fc z#part", "/%2e/%e9?", "//?a?b"}) {
        ScriptedServer other({{Ok("")}});
        Open(other.url + target)->SendSigned(nullptr, nullptr, 0, 0, &device);
        const std::string& request = other.Received()[0];
        const std::string line = Line(request, "POST "), timestamp = Line(request, timestampHeader + ": "s);
        const SignedRequest text{"POST", line.substr(0, line.find(' ')), timestamp, "", ""};
        EXPECT_EQ(Line(request, "Authorization: ZWS a:b:"), Signature(1, "secret", text)) << request;
    }
}

// The caller's record of the request holds what it gave and what was sent, by name.
TEST_F(ConnectionTest, AHeaderIsSentOnceUnderTheNameThatWasGivenAndBringsInNoOther) {
    ScriptedServer server({{Ok("")}});
    const auto connection = Open(server.url);
    connection->AddHeader("X-Name\r\nX-Bad", "1");
    connection->AddHeader("X-Value", "1\r\nX-Bad: 2");
    for (const char* name : {"accept-encoding", "content-TYPE", "x-Zelko-Timestamp", "AUTHORIZATION"})
        connection->AddHeader(name, "br, gzip;q=0.5");
    const AuthorizationInfo device{1, {2026, 1, 5, 2, 3, 4, 5, 678}, "secret", u"ZWS", u"d"};
    connection->SendSigned(u"text/plain", "{\0}", 3, 0, &device);
    const std::string sent = SentHeaders(*connection);
    EXPECT_EQ(server.Received()[0], "POST / HTTP/1.1\r\n" + sent + "\r\n{\0}"s);
    EXPECT_NE(sent.find("accept-encoding: gzip\r\ncontent-TYPE: text/plain\r\nx-Zelko-Timestamp: "
                        "2026-01-02T03:04:05.678Z\r\nAUTHORIZATION: ZWS d:"),
              sent.npos);
    EXPECT_EQ(std::count(sent.begin(), sent.end(), '\n'), 8) << sent;
}

TEST_F(ConnectionTest, MalformedUrlsAndVerbsAreRefused) {
    for (const char* url : {"", "h", "ftp://h/", "http:///h", "http://h/\r\nX: 1"}) EXPECT_FALSE(Open(url));
    for (const char* verb : {"", "GET /", "GET\r\n"}) EXPECT_FALSE(Open("http://h/", verb));
}

// Notes the proxy of each request; `onCall` runs first.
class Observer final : public IProxyUsedObserver, public test::CallLog {
  public:
    void OnProxyUsed(IProxySetting* proxy) override {
        if (onCall) onCall();
        Note(proxy ? Narrow(proxy->ProxyList()) : "none");
    }

    std::function<void()> onCall;
};

TEST_F(ConnectionTest, RemovalOfTheObserverWaitsForTheCallInFlight) {
    test::HeldCall call;
    Observer observer;
    observer.onCall = [&] { call.Stay(); };
    notifier.SetObserver(&observer);
    notifier.Report(nullptr);
    notifier.Report(nullptr);
    EXPECT_TRUE(call.IsAwaitedBy([&] { notifier.SetObserver(nullptr); }));
}

// A helper program in the place of the real one: it keeps what it is asked and takes its answer from the URL
// of the PAC file.
class PacFileTest : public TransportTest {
  protected:
    PacFileTest() {
        folder.Write("helper", "#!/bin/sh\necho $2 >>" + folder.PathOf("asked") + "\n$2\n");
        std::filesystem::permissions(folder.PathOf("helper"), std::filesystem::perms(0700));
        folder.SetEnvironment("ORRERY_PAC_HELPER", folder.PathOf("helper"));
    }
    static ProxyValues By(const std::string& command, const char16_t* user = u"") {
        return {.mode = ProxyWpad, .username = user, .wpadUrl = ToWide(command)};
    }
};

TEST_F(PacFileTest, IsAskedOnceForEachRequestAndItsAnswerIsTold) {
    ScriptedServer proxy({{Ok("")}});
    const std::string address = "127.0.0.1:" + proxy.port, refusing = "echo PROXY 127.0.0.1:1";
    const std::tuple<std::vector<ProxyValues>, std::string, int32_t> cases[] = {
        {{By("false"), By("false")}, "none", ProxyDirect},
        {{By(refusing), By(refusing, u"user"), {}}, "none", ProxyDirect},
        {{By("echo DIRECT")}, "none", ProxyWpad},
        {{By("echo PROXY " + address)}, address, ProxyWpad},
    };
    Observer observer;
    notifier.SetObserver(&observer);
    for (const auto& [entries, told, modeUsed] : cases) {
        folder.Write("asked", "");
        ScriptedServer server({{Ok("")}});
        const auto connection = Open(server.url);
        connection->SetProxies(entries);
        EXPECT_EQ(Send(*connection), Success);
        EXPECT_EQ(folder.Read("asked"), ToUtf8(entries[0].wpadUrl) + "\n");
        EXPECT_EQ(observer.Take(told), std::vector{told});
        ProxySetting used;
        EXPECT_TRUE(connection->GetProxyUsed(&used) && used.Mode() == modeUsed);
    }
    notifier.SetObserver(nullptr);
}

TEST_F(PacFileTest, IsNotAwaitedBeyondTheDeadlineOfTheRequest) {
    const auto connection = Open("http://h.invalid/");
    connection->SetProxies({By("sleep 14")});
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(Send(*connection), TimedOut);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(7));
}

TEST_F(ConnectionTest, OnlyAWholeDownloadTakesTheFilesPlace) {
    const std::tuple<std::string, uint32_t, uint32_t, std::string> cases[] = {
        {"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nabc", ConnectionCut, 0, "old"},
        {"HTTP/1.1 304 Not Modified\r\n\r\n", Continue, 304, "old"},
        {"HTTP/1.1 404 No\r\nContent-Length: 2\r\n\r\nno", Success, 404, "old"},
        {Ok("new"), Success, 200, "new"},
    };
    folder.Write("file", "old");
    for (const auto& [answer, expected, expectedStatus, left] : cases) {
        uint32_t status = 1;
        ScriptedServer server({{answer}});
        const WideString path = platform::WidePath(folder.PathOf("file"));
        EXPECT_EQ(Open(server.url, "GET")->Download(path, status), expected);
        EXPECT_EQ(std::tuple(status, folder.Read("file")), std::tuple(expectedStatus, left));
        EXPECT_EQ(FilesIn(folder.PathOf("")), 1);
    }
}

TEST_F(ConnectionTest, RoutesComeInOrderAndOnce) {
    const ProxyValues direct{}, pac{.mode = ProxyWpad}, other{.mode = 7};
    const auto by = [](const char16_t* list) {
        return ProxyValues{.mode = ProxyExplicit, .proxyList = list};
    };
    const WideString noneOfMany(300'000, u';');
    const ProxyValues fallback{.mode = ProxyExplicit, .proxyList = u"p:1", .fallback = true};
    const std::tuple<std::vector<ProxyValues>, std::optional<WideString>, const char*> cases[] = {
        {{by(u";u:p@h:1;socks://s;h:x;a b"), other, pac}, {}, " direct"},
        {{fallback, direct, by(u"q"), direct}, {}, " direct http://q:80 http://p:1"},
        {{by(u"p; http://p:80/ ;https://q;[::1]:2")}, {}, " http://p:80 https://q:443 http://[::1]:2"},
        {{by(u"http=a;HTTPS=http://b:1;https=c:2")}, {}, " http://b:1 http://c:2"},
        {{by(noneOfMany.c_str())}, {}, " direct"},
        {{pac, direct, fallback}, u"", " direct http://p:1"},
        {{pac, fallback}, u"p:1", " http://p:1"},
    };
    for (const auto& [entries, pacAnswer, expected] : cases) {
        ProxyRoutes routes(entries, "https", [&answer = pacAnswer](const WideString&) { return answer; });
        std::string found;
        while (const auto route = routes.Next()) found += ' ' + (route->IsDirect() ? "direct" : route->proxy);
        EXPECT_EQ(found, expected);
    }
}

// The next route only while nothing of the request can have reached the server.
TEST_F(ConnectionTest, ARouteThatRefusesLeadsToTheNext) {
    const Answer login{"HTTP/1.1 407 Login\r\nContent-Length: 5\r\n\r\nlogin"}, live{Ok("live")}, cut{""};
    const Answer none{"HTTP/1.1 503 No\r\nContent-Length: 2\r\n\r\nno"};
    // The URL, the two answers; the result, the tries, the proxy used, the reply.
    const std::tuple<const char*, Answer, Answer, uint32_t, size_t, int, std::string> cases[] = {
        {"http://h.invalid/", login, live, Success, 2, 2, "live"},
        {"http://h.invalid/", login, login, ProxyLoginFailed, 2, 2, ""},
        {"http://h.invalid/", cut, live, ConnectionCut, 1, 1, ""},
        {"http://h.invalid/", none, live, Success, 1, 1, "no"},
        {"https://h.invalid/", login, none, CannotConnect, 2, 0, ""},
        {"https://h.invalid/", cut, login, ProxyLoginFailed, 2, 0, ""},
    };
    for (const auto& [url, firstAnswer, secondAnswer, result, tries, proxyUsed, body] : cases) {
        ScriptedServer first({firstAnswer}), second({secondAnswer});
        const std::string list = "127.0.0.1:1;" + first.url + ";" + second.url;
        const auto connection = Open(url);
        connection->SetProxies({{ProxyExplicit, ToWide(list), u"user", u"pass:word"}});
        EXPECT_EQ(Send(*connection), result);
        EXPECT_EQ(connection->Reply() ? connection->Reply()->body : "", body);
        EXPECT_EQ(first.Received().size() + second.Received().size(), tries);
        ProxySetting used;
        connection->GetProxyUsed(&used);
        EXPECT_EQ(Narrow(used.ProxyList()), proxyUsed == 0 ? "" : proxyUsed == 1 ? first.url : second.url);
        EXPECT_NE(first.Received()[0].find("Basic dXNlcjpwYXNzOndvcmQ="), std::string::npos);
        EXPECT_EQ(SentHeaders(*connection).find("Basic"), std::string::npos);
    }
}

class ServiceClientTest : public TransportTest {
  protected:
    std::unique_ptr<ServiceClient> Open(const std::string& host) {
        return ServiceClient::Open({"", host, "no tify", 7, "1.2", "d", "s", "pre/fix/"}, nullptr, limits,
                                   clock, notifier);
    }

    ServerClock clock;
    uint32_t status = 0;
    std::array<char16_t, entityTagCapacity> tag{u"\"k\""};
};

TEST_F(ServiceClientTest, MakesTheRequestsOfItsOperations) {
    const std::array<const char*, 3> expected[] = {
        {"GET /pre/fix/no%20tify/7/a%2Fb%20%C3%A9%3F HTTP", "If-None-Match: \"k\"", ""},
        {"PUT /pre/fix/no%20tify/7/%252e HTTP", "Content-Type: application/json", "{}"},
        {"PUT /pre/fix/no%20tify/7/files/box/n%26m HTTP", "x-zelko-deviceId: d", "bytes"},
        {"POST /pre/fix/no%20tify/7/queues/q HTTP", "x-zelko-label: label", "{1}"},
        {"PUT /pre/fix/no%20tify/7/containers/c/3/n HTTP", "x-zelko-last: true", "data"},
    };
    ScriptedServer server(std::vector<Answer>(5, {Ok("")}));
    const auto client = Open(server.url);
    for (const char* host : {"", "http://", "a b", "ftp://h"}) EXPECT_FALSE(Open(host)) << host;
    for (const char16_t* id : {u"", u".."}) EXPECT_FALSE(client->SetDataById(id, nullptr, "", status));
    folder.Write("data", "bytes");
    uint32_t size = 0;
    EXPECT_TRUE(client->GetDataById(u"a/b \u00e9?", tag.data(), nullptr, size, status));
    EXPECT_TRUE(client->SetDataById(u"%2e", tag.data(), "{}", status) && tag[0] == 0);
    EXPECT_TRUE(client->UploadFile(u"box", u"n&m", ToWide(folder.PathOf("data")).c_str()));
    EXPECT_TRUE(client->Enqueue(u"q", u"label", "{1}"));
    EXPECT_TRUE(client->SendDataContainer(u"c", 3, u"n", "data", true));
    for (size_t i = 0; i < std::size(expected); ++i) {
        const std::string& request = server.Received().at(i);
        const auto [begin, header, end] = expected[i];
        EXPECT_TRUE(request.starts_with(begin) && request.ends_with(end)) << request;
        EXPECT_NE(request.find(header), request.npos) << request;
    }
}

TEST_F(ServiceClientTest, TagsAndDataHaveTheirLimits) {
    const auto tagged = [](size_t length) { return "ETag: " + std::string(length, 't') + "\r\n"; };
    const std::string full(65'535, 'd');
    // The answer, the room; the result, the size, the status, the tag's length.
    const std::tuple<std::string, uint32_t, bool, uint32_t, uint32_t, size_t> cases[] = {
        {Ok(full, tagged(255)), 65'536, true, 65'535, 200, 255},
        {Ok(full + "d"), 70'000, false, 70'000, 200, 3},
        {Ok("abc", tagged(300)), 4, true, 3, 200, 3},
        {Ok("abc", tagged(9)), 3, false, 3, 200, 3},
        {Ok("abc", "ETag: \r\n"), 4, true, 3, 200, 3},
        {"HTTP/1.1 304 No\r\n\r\n", 4, true, 0, 304, 3},
        {"", 4, false, 4, 0, 3},
    };
    for (const auto& [answer, room, result, expectedSize, expectedStatus, tagLength] : cases) {
        ScriptedServer server({{answer}});
        std::string data(room, 'x');
        uint32_t size = room;
        tag = {u"\"k\""};
        EXPECT_EQ(Open(server.url)->GetDataById(u"id", tag.data(), data.data(), size, status), result);
        EXPECT_EQ(data[result ? size : 0], result ? '\0' : 'x');
        EXPECT_EQ(std::tuple(size, status), std::tuple(expectedSize, expectedStatus));
        EXPECT_EQ(WideString(tag.data()).size(), tagLength);
    }
}

}  // namespace
}  // namespace orrery::wirelink
