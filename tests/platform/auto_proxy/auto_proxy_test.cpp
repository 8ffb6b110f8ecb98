#include "platform/auto_proxy.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "platform/text.h"

namespace orrery::platform {
namespace {

constexpr char16_t untouched[] = u"(untouched)";

class AutoProxy : public testing::Test {
  protected:
    AutoProxy() {
        char name[] = "/tmp/auto_proxy_XXXXXX";
        folder = mkdtemp(name);
        setenv("ORRERY_PAC_HELPER", PAC_HELPER, 1);
    }
    ~AutoProxy() override {
        unsetenv("ORRERY_PAC_HELPER");
        std::filesystem::remove_all(folder);
    }

    WideString Write(const std::string& script) {
        std::ofstream(folder / "proxy.pac", std::ios::binary) << script;
        return ToWide("file://" + (folder / "proxy.pac").string());
    }
    WideString WriteBody(const std::string& body) {
        return Write("function FindProxyForURL(url, host) {" + body + "}");
    }
    static WideString Ask(const WideString& pacUrl, const WideString& url = u"https://hub.example/a?b=1") {
        WideString proxy = untouched;
        OpenAutoProxySession()->GetProxyForUrl(url, pacUrl, proxy);
        return proxy;
    }
    // The failure's number; 0 if there was none.
    static uint32_t Failure(const WideString& pacUrl, const WideString& url = u"https://hub.example/a") {
        EXPECT_EQ(Ask(pacUrl, url), untouched);
        return LastAutoProxyError();
    }

    std::filesystem::path folder;
};

TEST_F(AutoProxy, ScriptSeesUrlAndHost) {
    const WideString pac = WriteBody(
        "return dnsDomainIs(host, '.example') && shExpMatch(url, 'https://*b=1') ? 'PROXY p:3128; DIRECT' :"
        " host == '::1' ? 'HTTPS six:1' : 'DIRECT';");
    EXPECT_EQ(Ask(pac), u"p:3128");
    EXPECT_EQ(LastAutoProxyError(), 0u);
    EXPECT_EQ(Ask(pac, u"http://[::1]:8080/"), u"https://six:1");
    EXPECT_EQ(Ask(pac, u"http://other/"), u"");
}

TEST_F(AutoProxy, ByteOrderMarkIsNoSyntaxError) {
    EXPECT_EQ(Ask(Write("\xEF\xBB\xBF"
                        "function FindProxyForURL(u, h) { return 'PROXY p:1'; }")),
              u"p:1");
}

TEST_F(AutoProxy, BadScriptsFail) {
    for (const char* body : {"while (true) {}", "var s = 'x'; while (true) s += s;",
                             "var a = []; while (true) a.push(new Array(100000).join('x'));",
                             "return FindProxyForURL(url, host);", "return 42;", "return;", "return {};",
                             "throw 'no';", "return nothing.here;", "return 'PROXY';"}) {
        EXPECT_EQ(Failure(WriteBody(body)), AutoProxyBadScript) << body;
    }
    EXPECT_EQ(Failure(Write("function FindProxyForURL(")), AutoProxyBadScript);
    // Crashes the engine, which a sanitizer turns into an exit code of its own.
    EXPECT_NE(Failure(Write("var x = " + std::string(400'000, '(') + ";")), 0u);
    EXPECT_EQ(Failure(Write(std::string("function FindProxyForURL() { return 'DIRECT'; }\0x", 50))),
              AutoProxyBadScript);
    EXPECT_EQ(Failure(Write("var x = 1;")), AutoProxyBadScript);
}

TEST_F(AutoProxy, ScriptIsFetchedOrItIsAFailure) {
    EXPECT_EQ(Failure(u"file:///nonexistent/proxy.pac"), AutoProxyNoScript);
    EXPECT_EQ(Failure(u"ftp://host/proxy.pac"), AutoProxyNoScript);
    EXPECT_EQ(Failure(u"http://127.0.0.1:1/proxy.pac"), AutoProxyNoScript);
    EXPECT_EQ(Failure(Write("")), AutoProxyNoScript);
    EXPECT_EQ(Failure(Write(std::string(1024 * 1024 + 1, ' '))), AutoProxyNoScript);
}

TEST_F(AutoProxy, UrlThatCouldLeaveItsQuotesIsRefused) {
    const WideString pac = WriteBody("return 'PROXY p:1';");
    for (const char16_t* url :
         {u"http://h/'+evil()+'", u"http://h/\\x27", u"http://h/\"", u"http://h/\n", u"http://h/a b",
          u"http://h/\u00e4", u"http://h'/", u"http://h%27/", u"h", u""}) {
        EXPECT_EQ(Failure(pac, url), AutoProxyInvalidUrl) << ToUtf8(url);
    }
}

TEST_F(AutoProxy, MissingHelperIsReportedForThisThreadOnly) {
    setenv("ORRERY_PAC_HELPER", "/nonexistent/helper", 1);
    WideString pacUrl;
    EXPECT_EQ(OpenAutoProxySession(), nullptr);
    EXPECT_EQ(LastAutoProxyError(), static_cast<uint32_t>(ENOENT));
    EXPECT_FALSE(DetectAutoProxyConfigUrl(DetectByDns, pacUrl));
    std::thread([] { EXPECT_EQ(LastAutoProxyError(), 0u); }).join();
}

TEST_F(AutoProxy, HelperIsFoundInLibFolderNextToProgram) {
    unsetenv("ORRERY_PAC_HELPER");
    EXPECT_EQ(Ask(WriteBody("return 'PROXY p:1';")), u"p:1");
}

TEST_F(AutoProxy, ThreadsAskIndependently) {
    const WideString pac = WriteBody("return 'PROXY ' + host + ':1';");
    const auto askOften = [&pac](const WideString& host) {
        for (int i = 0; i < 10; ++i) EXPECT_EQ(Ask(pac, u"http://" + host + u"/"), host + u":1");
    };
    std::thread other(askOften, u"one");
    askOften(u"two");
    other.join();
}

TEST_F(AutoProxy, NothingIsDetectedByDhcp) {
    WideString pacUrl = untouched;
    EXPECT_FALSE(DetectAutoProxyConfigUrl(DetectByDhcp, pacUrl));
    EXPECT_EQ(LastAutoProxyError(), AutoProxyNotDetected);
    EXPECT_EQ(pacUrl, untouched);
}

}  // namespace
}  // namespace orrery::platform
