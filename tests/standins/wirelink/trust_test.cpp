// Connections to a TLS server of loopback, whose certificate is its own authority.
#include "system/process.h"
#include "transport_test.h"

namespace orrery::wirelink {
namespace {

using namespace system_test;

class TrustTest : public TransportTest {
  protected:
    void SetUp() override {
        limits = {};
        Shell(
            "openssl req -x509 -nodes -subj /CN=h -addext subjectAltName=DNS:localhost -keyout key -out pem");
        folder.SetEnvironment("SSL_CERT_FILE", folder.PathOf("pem"));
        folder.Write("reply", Ok(""));
        const std::string serve = "exec openssl s_server -HTTP -cert pem -key key -accept 127.0.0.1:" + port;
        server.emplace(Command{"sh", "-c", InFolder(serve)}, folder.PathOf("server"));
        ASSERT_TRUE(Eventually([this] { return Send(*Open(url, "GET")) != CannotConnect; }));
    }
    std::string InFolder(const std::string& line) const { return "cd " + folder.PathOf("") + "; " + line; }
    std::string Shell(const std::string& line) const {
        return RunToEnd({"sh", "-c", InFolder(line)}, folder.PathOf("log")).second;
    }

    const std::string port = ScriptedServer({}).port;
    const std::string url = "https://localhost:" + port + "/reply";
    std::optional<Process> server;
};

TEST_F(TrustTest, PinsAndAuthoritiesDecideTogether) {
    const std::string digest = Shell(
        "openssl x509 -in pem -noout -pubkey > public; openssl pkey -pubin -in "
        "public -outform der | openssl dgst -sha256 -binary | base64");
    const WideString pin = ToWide("sha256//" + digest.substr(0, 44));
    const WideString other = u"sha256//" + WideString(43, u'A') + u"=";
    const WideString file = ToWide(folder.PathOf("public"));
    const std::tuple<const char16_t*, std::vector<WideString>, bool, const char*, uint32_t> cases[] = {
        {u"LocalHost", {other, pin}, true, "pem", Success},
        {u"host", {other}, true, "pem", Success},
        {u"localhost", {other}, true, "pem", SecureFailure},
        {u"localhost", {other}, false, "pem", Success},
        {u"localhost", {}, true, "pem", SecureFailure},
        {u"localhost", {file, u"sha256//", pin + u";"}, true, "pem", SecureFailure},
        {u"localhost", {pin}, true, "none", SecureFailure},
    };
    for (const auto& [domain, pins, enabled, authorities, expected] : cases) {
        setenv("SSL_CERT_FILE", folder.PathOf(authorities).c_str(), 1);
        std::vector<const char16_t*> pointers;
        for (const WideString& each : pins) pointers.push_back(each.c_str());
        pointers.push_back(pin.c_str());  // beyond the count
        TrustStore store;
        store.SetEnabled(enabled);
        store.AddTrustedCertificates(domain, static_cast<uint32_t>(pins.size()), pointers.data());
        const auto connection = Open(url, "GET");
        connection->SetTrustStore(&store);
        EXPECT_EQ(Send(*connection), expected) << ToUtf8(domain) << pins.size() << enabled << authorities;
    }
}

}  // namespace
}  // namespace orrery::wirelink
