#include "system/system_test.h"

namespace orrery::system_test {
namespace {

class TlsTest : public SystemTest {
  protected:
    void SetUp() override {
        for (const std::string name : {"authority", "other"}) {
            OpenSsl({"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=" + name, "-keyout",
                     PathOf(name + ".key"), "-out", PathOf(name + ".pem")});
        }
    }

    // A hub at "localhost" with a certificate of `authority` for `host`, and an agent that trusts `trusted`
    // alone.
    void Start(const std::string& host, const std::string& days, const std::string& trusted,
               Json settings = Json::object()) {
        OpenSsl({"req", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=" + host, "-addext",
                 "subjectAltName=DNS:" + host, "-keyout", PathOf("hub.key"), "-out", PathOf("hub.csr")});
        OpenSsl({"x509", "-req", "-in", PathOf("hub.csr"), "-copy_extensions", "copy", "-days", days, "-CA",
                 PathOf("authority.pem"), "-CAkey", PathOf("authority.key"), "-out", PathOf("hub.pem")});
        StartHub({"--tls-cert", PathOf("hub.pem"), "--tls-key", PathOf("hub.key")});
        settings["Realtime.Client.ValidateCertificates"] = "1";
        Install("wss://localhost:" + std::to_string(hubPort), settings);
        StartAgent({{"SSL_CERT_FILE", PathOf(trusted + ".pem")}, {"SSL_CERT_DIR", PathOf("none")}});
    }

    void ExpectConnected() { EXPECT_TRUE(Raised("ConnectivityTest")); }

    void ExpectRefusedUntilValidationIsOff() {
        ASSERT_TRUE(Traced("TLS handshake failed"));
        EXPECT_EQ(hub->Errors().find("registered"), std::string::npos);
        Set("Realtime.Client.ValidateCertificates", "0");
        ExpectConnected();
    }

    // The pin of the public key in hub.pem.
    std::string Pin() const {
        const std::string digest = "openssl x509 -in " + PathOf("hub.pem") +
                                   " -pubkey -noout | openssl pkey -pubin -outform der | "
                                   "openssl dgst -sha256 -binary | base64 | tr -d '\\n'";
        return "sha256//" + RunToEnd({"sh", "-c", digest}, PathOf("digest")).second;
    }

    // Which of a bind and a poll the server answers under these proxies and pins. An id of its own makes each
    // a new request.
    std::string Served(const std::string& id, const std::string& proxies, const std::string& pin) {
        const Json list = {{"ProxyConfig", {{{"source", "explicit"}, {"proxyList", proxies}}}}};
        const Json trust = {{"TrustedCertificatesByDomain", {{"localhost", {pin}}}}};
        folder.Write("change", Json{{"Proxy.Default.FallbackList", list.dump()},
                                    {"Communications.CertificateTrustworthiness.Settings", trust.dump()},
                                    {"Register.Notification.NotificationId", id}}
                                   .dump());
        EXPECT_EQ(RunAgent({"settings", "import", PathOf("change")}).first, 0);
        Execute("DeviceBind");
        Execute("NotificationCheck");
        const bool isBound = Setting("Realtime.DeviceBind.LastInfoSent").find(id) != std::string::npos;
        const bool isPolled = !Setting("Services.Service_NotificationCheck.ETag").empty();
        return std::string(isBound ? "bind " : "") + (isPolled ? "poll" : "");
    }

    void OpenSsl(Command command) const {
        command.insert(command.begin(), "openssl");
        ASSERT_EQ(RunToEnd(command, PathOf("openssl")).first, 0) << folder.Read("openssl.err");
    }
};

TEST_F(TlsTest, ConnectsToACertificateOfItsAuthority) {
    Start("localhost", "2", "authority");
    ExpectConnected();
}

TEST_F(TlsTest, RefusesACertificateOfAnotherAuthority) {
    Start("localhost", "2", "other");
    ExpectRefusedUntilValidationIsOff();
}

TEST_F(TlsTest, RefusesACertificateForAnotherName) {
    Start("elsewhere.example", "2", "authority");
    ExpectRefusedUntilValidationIsOff();
}

TEST_F(TlsTest, RefusesAnExpiredCertificate) {
    Start("localhost", "-1", "authority");
    ExpectRefusedUntilValidationIsOff();
}

// Of the pins the channel knows nothing.
TEST_F(TlsTest, BindsAndPollsTakeTheProxiesAndThePinsOfTheSettings) {
    Start("localhost", "2", "authority", {{"Realtime.Notifications.Enabled", "0"}});
    const std::string dead = "127.0.0.1:" + std::to_string(FreePort());
    const uint16_t proxyPort = FreePort();
    const std::string port = std::to_string(proxyPort), live = "127.0.0.1:" + port;
    folder.Write("proxy.conf", "Listen 127.0.0.1\nPort " + port + "\n");
    const Process proxy({"tinyproxy", "-d", "-c", PathOf("proxy.conf")}, PathOf("proxy"));
    ASSERT_TRUE(Eventually([&] { return hub::HubClient(proxyPort).Http("GET", "/") != 0; }));
    EXPECT_EQ(Served("dead-proxy", dead, Pin()), "");
    EXPECT_EQ(Served("another-pin", live, "sha256//" + std::string(43, 'A') + "="), "");
    EXPECT_EQ(Served("both-right", live, Pin()), "bind poll");
}

}  // namespace
}  // namespace orrery::system_test
