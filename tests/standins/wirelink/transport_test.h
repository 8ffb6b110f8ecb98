// Connections with short deadlines and small limits, in an environment whose proxy variables nobody may heed.
#pragma once

#include <gtest/gtest.h>

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/write.hpp>

#include <thread>

#include "platform/error_codes.h"
#include "standins/wirelink/base/wide_text.h"
#include "standins/wirelink/http/connection.h"
#include "support/temporary_folder.h"

namespace orrery::wirelink {

struct Answer {
    std::string bytes;
    bool isHeld = false;  // the connection stays open until the client leaves
};

inline std::string Ok(const std::string& body, const std::string& headers = {}) {
    const std::string length = std::to_string(body.size());
    return "HTTP/1.1 200 OK\r\n" + headers + "Content-Length: " + length + "\r\n\r\n" + body;
}

// Gives one answer to each connection and keeps what it got there. It answers on a thread of its own, which
// ends with the object, or when the test asks what came.
class ScriptedServer {
    using Tcp = boost::asio::ip::tcp;

  public:
    explicit ScriptedServer(std::vector<Answer> answers) : answers(std::move(answers)) {}
    ~ScriptedServer() { Received(); }
    const std::vector<std::string>& Received() {
        shutdown(acceptor.native_handle(), SHUT_RDWR);  // ends an accept that waits; closing wouldn't
        if (thread.joinable()) thread.join();
        return received;
    }

  private:
    void Serve() {
        boost::system::error_code failed;
        for (const Answer& answer : answers) {
            Tcp::socket client = acceptor.accept(failed);
            if (failed) return;
            // A small request comes in one piece.
            std::string& request = received.emplace_back(65'536, '\0');
            request.resize(client.read_some(boost::asio::buffer(request), failed));
            boost::asio::write(client, boost::asio::buffer(answer.bytes), failed);
            if (answer.isHeld) client.wait(Tcp::socket::wait_read, failed);
        }
    }

    const std::vector<Answer> answers;
    boost::asio::io_context context;
    Tcp::acceptor acceptor{context, {boost::asio::ip::address_v4::loopback(), 0}};
    std::vector<std::string> received;

  public:
    const std::string port = std::to_string(acceptor.local_endpoint().port());
    const std::string url = "http://127.0.0.1:" + port;

  private:
    std::thread thread{[this] { Serve(); }};
};

class TransportTest : public testing::Test {
  protected:
    TransportTest() {
        setenv("http_proxy", "127.0.0.1:1", 1);
        setenv("no_proxy", "127.0.0.1", 1);
    }
    std::unique_ptr<Connection> Open(const std::string& url, const std::string& verb = "POST") {
        return Connection::Open("agent/1", url, verb, limits, notifier);
    }
    static uint32_t Send(Connection& connection, const std::string& body = {}) {
        const auto size = static_cast<uint32_t>(body.size());
        return connection.SendSigned(nullptr, body.data(), size, 0, nullptr);
    }
    static std::string SentHeaders(Connection& connection) {
        WideString headers;
        return connection.GetSentHeaders(headers) ? ToUtf8(headers) : "";
    }

    using Ms = std::chrono::milliseconds;
    Limits limits{Ms(5000), Ms(200), Ms(700), 70'000, 4096, 2048};
    ProxyNotifier notifier;
    TemporaryFolder folder;
};

}  // namespace orrery::wirelink
