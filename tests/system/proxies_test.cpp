#include "system/system_test.h"

namespace orrery::system_test {
namespace {

class ProxiesTest : public SystemTest {
  protected:
    // The proxies give up root's rights and read their files in the folder afterwards.
    void SetUp() override {
        std::filesystem::permissions(PathOf(""), std::filesystem::perms(0755));
        StartHub();
    }

    void StartProxy(bool isSquid) {
        proxyPort = FreePort();
        const std::string file = PathOf("proxy.conf");
        folder.Write("proxy.conf", isSquid ? SquidConfiguration() : TinyproxyConfiguration());
        folder.Write("passwords", "user:$apr1$Z0HFnp1I$AAeWUnIPT52gROCac14sh.\n");
        proxy = std::make_unique<Process>(isSquid ? Command{"/usr/sbin/squid", "-N", "-d", "1", "-f", file}
                                                  : Command{"tinyproxy", "-d", "-c", file},
                                          PathOf("proxy"));
        ASSERT_TRUE(Eventually([this] { return hub::HubClient(proxyPort).Http("GET", "/") != 0; }));
    }

    void StartAgentWith(const std::vector<Json>& entries) {
        Install("ws://" + HubAddress(),
                {{"Proxy.Default.FallbackList", Json{{"ProxyConfig", entries}}.dump()}});
        StartAgent();
    }

    Json Explicit(const std::string& proxies, const std::string& password = "secret") const {
        return {{"source", "explicit"}, {"proxyList", proxies}, {"user", "user"}, {"password", password}};
    }
    std::string ProxyAddress() const { return "127.0.0.1:" + std::to_string(proxyPort); }

    void ExpectConnectedThroughProxy() {
        ASSERT_TRUE(Registered());
        EXPECT_EQ(Subscribed()["viaProxy"], "yes");
        EXPECT_TRUE(Eventually([this] { return IsBoundThroughProxy(); }));
        proxy->End(SIGKILL);  // what went through it dies with it
        EXPECT_TRUE(Eventually([this] { return Subscribed().empty(); }));
    }

    // The transport takes the channel's way; proxies say so of themselves.
    bool IsBoundThroughProxy() const {
        const Json exchanges = Json::parse(Api("/api/exchanges"));
        return exchanges.size() == 1 && exchanges[0]["status"] == 200 && !exchanges[0]["via"].is_null();
    }

    void ExpectConnectedDirectly() {
        ASSERT_TRUE(Registered());
        EXPECT_TRUE(Subscribed()["viaProxy"].is_null());
    }

    std::unique_ptr<Process> proxy;
    uint16_t proxyPort = 0;

  private:
    std::string TinyproxyConfiguration() const {
        return "Listen 127.0.0.1\nTimeout 600\nBasicAuth user secret\nPort " + std::to_string(proxyPort) +
               "\nConnectPort " + std::to_string(hubPort) + "\n";
    }

    std::string SquidConfiguration() const {
        return "auth_param basic program /usr/lib/squid/basic_ncsa_auth " + PathOf("passwords") +
               "\nauth_param basic children 1\nacl known proxy_auth REQUIRED\nacl hub port " +
               std::to_string(hubPort) + "\nhttp_access allow hub known\nhttp_access deny all\n" +
               "http_port " + ProxyAddress() + "\naccess_log none\ncache_log /dev/null\ncache deny all\n" +
               "pid_filename none\nnetdb_filename none\npinger_enable off\nvisible_hostname localhost\n";
    }
};

class EachProxyTest : public ProxiesTest, public testing::WithParamInterface<bool> {};

INSTANTIATE_TEST_SUITE_P(Proxies, EachProxyTest, testing::Bool(),
                         [](const auto& each) { return each.param ? "Squid" : "Tinyproxy"; });

TEST_P(EachProxyTest, ConnectsThroughIt) {
    StartProxy(GetParam());
    StartAgentWith({Explicit(ProxyAddress())});
    ExpectConnectedThroughProxy();
}

// A PAC file with credentials is always one that was stored as used.
TEST_P(EachProxyTest, ConnectsThroughItByAPacFile) {
    StartProxy(GetParam());
    Api("/api/pac", "function FindProxyForURL(url, host) { return 'PROXY " + ProxyAddress() + "'; }");
    const Json used = {{"Mode", 2},
                       {"Username", "user"},
                       {"Password", "secret"},
                       {"WPADUrl", "http://" + HubAddress() + "/proxy.pac"}};
    Install("ws://" + HubAddress(), {{"Proxy.Default.LastProxyConfigUsed", used.dump()}});
    StartAgent();
    ExpectConnectedThroughProxy();
}

TEST_P(EachProxyTest, AWrongPasswordLeadsToTheNextEntry) {
    StartProxy(GetParam());
    StartAgentWith({Explicit(ProxyAddress(), "wrong"), {{"source", "direct"}}});
    ExpectConnectedDirectly();
}

TEST_F(ProxiesTest, APacFileThatLoopsLeadsToTheNextEntry) {
    Api("/api/pac", "function FindProxyForURL(url, host) { while (true) {} }");
    StartAgentWith({{{"source", "wpad"}, {"PacFileUrl", "http://" + HubAddress() + "/proxy.pac"}},
                    {{"source", "direct"}}});
    ExpectConnectedDirectly();
}

}  // namespace
}  // namespace orrery::system_test
