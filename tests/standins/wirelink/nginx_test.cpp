// The transport against a server and two proxies that others wrote, started here on loopback.
#include "system/process.h"
#include "transport_test.h"

namespace orrery::wirelink {
namespace {

using namespace system_test;

class NginxTest : public TransportTest {
  protected:
    void SetUp() override {
        limits = {};
        Shell(
            "openssl req -x509 -nodes -subj /CN=h -addext subjectAltName=DNS:localhost -keyout key -out pem");
        folder.SetEnvironment("SSL_CERT_FILE", folder.PathOf("pem"));
        const std::string listen = "listen 127.0.0.1:" + port + "; listen 127.0.0.1:" + securePort + " ssl; ";
        folder.Write(
            "nginx.conf",
            "daemon off; master_process off; pid pid; events {} http { access_log off; gzip on; "
            "gzip_proxied any; gzip_types *; gzip_http_version 1.0; client_body_temp_path b; "
            "proxy_temp_path p; fastcgi_temp_path f; uwsgi_temp_path u; scgi_temp_path s; root .; "
            "dav_methods PUT; client_max_body_size 8m; ssl_certificate pem; ssl_certificate_key key; "
            "server { " +
                listen + "} }");
        folder.Write("proxy.conf", "Listen 127.0.0.1\nPort " + proxyPort + "\nConnectPort " + securePort);
        folder.Write("squid.conf", "http_access allow all\nhttp_port 127.0.0.1:" + squidPort +
                                       "\naccess_log none\ncache_log /dev/null\ncache deny all\npid_filename "
                                       "none\nnetdb_filename none\npinger_enable off\nvisible_hostname h\n");
        const std::string path = folder.PathOf("");
        std::filesystem::permissions(path, std::filesystem::perms(0755));  // squid gives up root's rights
        nginx.emplace(Command{"nginx", "-p", path, "-c", "nginx.conf", "-e", "error"}, path + "nginx");
        proxy.emplace(Command{"tinyproxy", "-d", "-c", path + "proxy.conf"}, path + "proxy");
        squid.emplace(Command{"/usr/sbin/squid", "-N", "-f", path + "squid.conf"}, path + "squid");
        for (const std::string& each : {port, proxyPort, squidPort}) {
            const auto connection = Open("http://127.0.0.1:" + each);
            ASSERT_TRUE(Eventually([&] { return Send(*connection) != CannotConnect; }));
        }
    }
    std::string Shell(const std::string& line) const {
        return RunToEnd({"sh", "-c", "cd " + folder.PathOf("") + "; " + line}, folder.PathOf("log")).second;
    }
    static std::string FreePort() { return ScriptedServer({}).port; }

    const std::string port = FreePort(), securePort = FreePort(), proxyPort = FreePort();
    const std::string squidPort = FreePort();
    std::optional<Process> nginx, proxy, squid;
};

TEST_F(NginxTest, PinsAndAuthoritiesDecideTogether) {
    const std::string digest = Shell(
        "openssl x509 -in pem -noout -pubkey > public; openssl pkey -pubin -in "
        "public -outform der | openssl dgst -sha256 -binary | base64");
    const std::string pin = "sha256//" + digest.substr(0, 44), file = folder.PathOf("public");
    const std::string other = "sha256//" + std::string(43, 'A') + "=";
    const std::tuple<const char*, std::vector<std::string>, bool, const char*, uint32_t> cases[] = {
        {"LocalHost", {other, pin}, true, "pem", Success},
        {"host", {other}, true, "pem", Success},
        {"localhost", {other}, true, "pem", SecureFailure},
        {"localhost", {other}, false, "pem", Success},
        {"localhost", {}, true, "pem", SecureFailure},
        {"localhost", {file, "sha256//", pin + ";"}, true, "pem", SecureFailure},
        {"localhost", {pin}, true, "none", SecureFailure},
    };
    for (const auto& [domain, pins, enabled, authorities, expected] : cases) {
        setenv("SSL_CERT_FILE", folder.PathOf(authorities).c_str(), 1);
        std::vector<WideString> texts;
        std::vector<const char16_t*> pointers;
        for (const std::string& each : pins) texts.push_back(ToWide(each));
        texts.push_back(ToWide(pin));  // beyond the count
        for (const WideString& text : texts) pointers.push_back(text.c_str());
        TrustStore store;
        store.SetEnabled(enabled);
        store.AddTrustedCertificates(ToWide(domain).c_str(), static_cast<uint32_t>(pins.size()),
                                     pointers.data());
        const auto connection = Open("https://localhost:" + securePort, "GET");
        connection->SetTrustStore(&store);
        EXPECT_EQ(Send(*connection), expected) << domain << pins.size() << enabled << authorities;
    }
}

TEST_F(NginxTest, BodiesGoAndComeWhole) {
    std::string body(size_t{8} << 20, 'b');
    for (size_t i = 0; i < body.size(); i += 7) body[i] = static_cast<char>(i);
    const auto by = [](const std::string& proxy) {
        return ProxyValues{.mode = ProxyExplicit, .proxyList = ToWide("127.0.0.1:" + proxy)};
    };
    for (const std::string& url : {"http://localhost:" + port, "https://localhost:" + securePort}) {
        for (const ProxyValues& entry : {ProxyValues(), by(proxyPort), by(squidPort)}) {
            const auto request = [&](const char* verb, const char* target, const std::string& sent) {
                const auto connection = Open(url + target, verb);
                connection->SetProxies({entry});
                connection->AddHeader("Accept-Encoding", "gzip");
                EXPECT_EQ(Send(*connection, sent), Success);
                return connection->Reply() ? *connection->Reply() : HttpReply();
            };
            EXPECT_TRUE(IsSuccess(request("PUT", "/file", body).status));
            EXPECT_EQ(request("PUT", "/file", body + "!").status, 413u);
            const HttpReply got = request("GET", "/file", "");
            EXPECT_TRUE(got.body == body && FindHeader(got.headers, "Content-Encoding"));
        }
    }
}

}  // namespace
}  // namespace orrery::wirelink
