#include "platform/auto_proxy.h"

#include <gmock/gmock.h>

#include "platform/linux/auto_proxy/pac_answer.h"
#include "platform/linux/auto_proxy/wpad_hosts.h"
#include "platform/text.h"
#include "support/temporary_folder.h"

namespace orrery::platform {
namespace {

using testing::ElementsAre;

constexpr char untouched[] = "(untouched)";

class AutoProxy : public testing::Test {
  protected:
    AutoProxy() { folder.SetEnvironment("ORRERY_PAC_HELPER", PAC_HELPER); }

    WideString Write(const std::string& script) {
        folder.Write("proxy.pac", script);
        return ToWide("file://" + folder.PathOf("proxy.pac"));
    }
    WideString WriteBody(const std::string& body) {
        return Write("\xEF\xBB\xBF function FindProxyForURL(url, host) {" + body + "}");
    }
    static std::string Ask(const WideString& pacUrl, const WideString& url = u"https://hub.example/a?b=1") {
        WideString proxy = ToWide(untouched);
        const bool isAnswered = OpenAutoProxySession()->GetProxyForUrl(url, pacUrl, proxy);
        EXPECT_EQ(isAnswered, LastAutoProxyError() == 0);
        return ToUtf8(proxy);
    }
    // The failure's number; 0 if there was none.
    static uint32_t Failure(const WideString& pacUrl, const WideString& url = u"https://hub.example/a") {
        EXPECT_EQ(Ask(pacUrl, url), untouched);
        return LastAutoProxyError();
    }

    TemporaryFolder folder;
};

TEST_F(AutoProxy, ScriptSeesUrlAndHost) {
    const WideString pac = WriteBody(
        "return dnsDomainIs(host, '.example') && shExpMatch(url, 'https://*b=1') ? 'PROXY p:3128; DIRECT' :"
        " host == '::1' ? 'HTTPS six:1' : 'DIRECT';");
    EXPECT_EQ(Ask(pac), "p:3128");
    EXPECT_EQ(Ask(pac, u"http://[::1]:8080/"), "https://six:1");
    EXPECT_EQ(Ask(pac, u"http://other/"), "");
}

TEST_F(AutoProxy, BadScriptsFail) {
    for (const char* body : {"while (true) {}", "var s = 'x'; while (true) s += s;", "return 42;",
                             "throw 'no';", "return 'PROXY';"}) {
        EXPECT_EQ(Failure(WriteBody(body)), AutoProxyBadScript) << body;
    }
    EXPECT_EQ(Failure(Write("function FindProxyForURL(")), AutoProxyBadScript);
    // Crashes the engine, which a sanitizer turns into an exit code of its own.
    EXPECT_NE(Failure(Write("var x = " + std::string(400'000, '(') + ";")), 0u);
    EXPECT_EQ(Failure(Write(std::string("function FindProxyForURL() { return 'DIRECT'; }\0x", 50))),
              AutoProxyBadScript);
}

TEST_F(AutoProxy, ScriptIsFetchedOrItIsAFailure) {
    EXPECT_EQ(Failure(u"http://127.0.0.1:1/proxy.pac"), AutoProxyNoScript);
    EXPECT_EQ(Failure(Write("")), AutoProxyNoScript);
    EXPECT_EQ(Failure(Write(std::string(1024 * 1024 + 1, ' '))), AutoProxyNoScript);
}

TEST_F(AutoProxy, UrlThatCouldLeaveItsQuotesIsRefused) {
    const WideString pac = WriteBody("return 'PROXY p:1';");
    for (const char16_t* url : {u"http://h/'+evil()+'", u"http://h/\\x27", u"http://h/a b",
                                u"http://h/\u00e4", u"http://h%27/", u"h", u""}) {
        EXPECT_EQ(Failure(pac, url), AutoProxyInvalidUrl) << ToUtf8(url);
    }
}

TEST(PacAnswer, GivesFirstUsableProxy) {
    const std::pair<const char*, const char*> cases[] = {
        {"PROXY a:1; PROXY b:2; DIRECT", "a:1"},
        {" ;\tproxy \t a:1 \r\n;DIRECT", "a:1"},
        {"Https a:1", "https://a:1"},
        {"direct;PROXY a:1", ""},
        {"SOCKS s:1; SOCKS5 t:2; HTTP a:1", "a:1"},
        {"SOCKS s:1", ""},
        {"PROXY; PROXY a 1; DIRECT x; PROXYb:2; PROXY c:3", "c:3"},
        {"PROXY \xC3\xA4:1", untouched},
        {" ; ;", untouched},
        {"a:1", untouched},
    };
    for (const auto& [answer, expected] : cases) {
        std::string proxy = untouched;
        EXPECT_EQ(ReadPacAnswer(answer, proxy), expected != untouched) << answer;
        EXPECT_EQ(proxy, expected) << answer;
    }
}

TEST(WpadHosts, GoesFromEachSearchDomainUpToItsRegistration) {
    EXPECT_THAT(WpadHosts("nameserver 1.2.3.4\nsearch lab.corp.example. corp.example lan\n"),
                ElementsAre("wpad.lab.corp.example", "wpad.corp.example", "wpad.lan"));
    EXPECT_THAT(WpadHosts("domain x.firm.co.uk"), ElementsAre("wpad.x.firm.co.uk", "wpad.firm.co.uk"));
    EXPECT_THAT(WpadHosts("search a.example\n\tdomain\tb.example\n# search c.example\noptions search d"),
                ElementsAre("wpad.b.example"));
    EXPECT_THAT(WpadHosts("search a.example\nsearch .\n"), ElementsAre());
}

}  // namespace
}  // namespace orrery::platform
