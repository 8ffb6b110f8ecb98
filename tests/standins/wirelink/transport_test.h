// Connections with short deadlines and small limits, in an environment whose proxy variables nobody may heed.
#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <poll.h>

#include "platform/error_codes.h"
#include "standins/wirelink/base/wide_text.h"
#include "standins/wirelink/http/connection.h"
#include "support/temporary_folder.h"

namespace orrery::wirelink {

struct Answer {
    std::string bytes;
    std::string repeat{};  // sent again and again until the client leaves
    int pause = 0;         // ms before each repetition; -1 waits for ever
};

inline std::string Ok(const std::string& body, const std::string& headers = {}) {
    const std::string length = std::to_string(body.size());
    return "HTTP/1.1 200 OK\r\n" + headers + "Content-Length: " + length + "\r\n\r\n" + body;
}

// Gives one answer to each connection and keeps what it got there. It answers on a thread of its own, which
// ends with the object, or when the test asks what came.
class ScriptedServer {
  public:
    explicit ScriptedServer(std::vector<Answer> answers) : answers(std::move(answers)) {
        sockaddr_in address{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
        socklen_t size = sizeof address;
        bind(listener, reinterpret_cast<const sockaddr*>(&address), size);
        listen(listener, 8);
        getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
        port = std::to_string(ntohs(address.sin_port));
        url = "http://127.0.0.1:" + port;
        thread = std::thread([this] { Serve(); });
    }
    ~ScriptedServer() {
        Received();
        close(listener);
    }
    const std::vector<std::string>& Received() {
        shutdown(listener, SHUT_RDWR);
        if (thread.joinable()) thread.join();
        return received;
    }

    std::string port, url;

  private:
    void Serve() {
        for (const Answer& answer : answers) {
            const int client = accept(listener, nullptr, nullptr);
            if (client < 0) return;
            // A small request comes in one piece.
            std::string& request = received.emplace_back(65'536, '\0');
            request.resize(static_cast<size_t>(recv(client, request.data(), request.size(), 0)));
            pollfd left{client, POLLIN, 0};
            const bool ends = answer.pause == 0 && answer.repeat.empty();
            const std::string* next = &answer.bytes;
            do {
                send(client, next->data(), next->size(), MSG_NOSIGNAL);
                next = &answer.repeat;
            } while (!ends && poll(&left, 1, answer.pause) == 0);
            close(client);
        }
    }

    const std::vector<Answer> answers;
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    std::vector<std::string> received;
    std::thread thread;
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
