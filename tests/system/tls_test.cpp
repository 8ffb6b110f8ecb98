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
    void Start(const std::string& host, const std::string& days, const std::string& trusted) {
        OpenSsl({"req", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=" + host, "-addext",
                 "subjectAltName=DNS:" + host, "-keyout", PathOf("hub.key"), "-out", PathOf("hub.csr")});
        OpenSsl({"x509", "-req", "-in", PathOf("hub.csr"), "-copy_extensions", "copy", "-days", days, "-CA",
                 PathOf("authority.pem"), "-CAkey", PathOf("authority.key"), "-out", PathOf("hub.pem")});
        StartHub({"--tls-cert", PathOf("hub.pem"), "--tls-key", PathOf("hub.key")});
        Install("wss://localhost:" + std::to_string(hubPort),
                {{"Realtime.Client.ValidateCertificates", "1"}});
        StartAgent({{"SSL_CERT_FILE", PathOf(trusted + ".pem")}, {"SSL_CERT_DIR", PathOf("none")}});
    }

    void ExpectConnected() { EXPECT_TRUE(Raised("ConnectivityTest")); }

    void ExpectRefusedUntilValidationIsOff() {
        ASSERT_TRUE(Traced("TLS handshake failed"));
        EXPECT_EQ(hub->Errors().find("registered"), std::string::npos);
        Set("Realtime.Client.ValidateCertificates", "0");
        ExpectConnected();
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

}  // namespace
}  // namespace orrery::system_test
