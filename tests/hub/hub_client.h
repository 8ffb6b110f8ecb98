// A blocking HTTP and WebSocket client on a plain socket. It shares no code with the server and can send what
// no library would. Whatever doesn't come within a minute counts as an end. One thread.
#pragma once

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <string_view>

namespace orrery::hub {

enum Opcode : int { Text = 1, Binary = 2, Close = 8, Ping = 9, Pong = 10, Ended = -1, Reset = -2 };

struct Received {
    int opcode = Ended;
    std::string payload;  // of a close frame without the code
    size_t code = 0;

    bool operator==(const Received&) const = default;
};

class HubClient {
  public:
    explicit HubClient(uint16_t port) {
        const timeval deadline{60, 0};
        const int noDelay = 1;
        setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &deadline, sizeof deadline);
        setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &noDelay, sizeof noDelay);
        const sockaddr_in address{AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}};
        if (connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
            failure = errno;
    }
    ~HubClient() { close(socket); }
    HubClient(const HubClient&) = delete;
    HubClient& operator=(const HubClient&) = delete;

    // False once the connection takes nothing more.
    bool SendBytes(std::string_view bytes) const {
        const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        return sent == static_cast<ssize_t>(bytes.size());
    }
    // Each of `headers` ends in CR LF.
    void Send(const std::string& method, const std::string& target, const std::string& body = {},
              const std::string& headers = {}) const {
        SendBytes(method + ' ' + target + " HTTP/1.1\r\nHost: hub\r\n" + headers +
                  "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
    }
    // The status, with the body in `answer`; 0 if the connection ended.
    int Http(const std::string& method, const std::string& target, const std::string& body = {},
             const std::string& headers = {}) {
        Send(method, target, body, headers);
        return ReadAnswer();
    }
    int ReadAnswer() {
        size_t end = 0;
        while ((end = pending.find("\r\n\r\n")) == pending.npos) {
            if (!Fill(pending.size() + 1)) return 0;
        }
        head = Take(end + 4);
        if (!head.starts_with("HTTP/1.")) return 0;
        const size_t length = head.find("Content-Length: ");
        const size_t size = length == head.npos ? 0 : std::stoul(head.substr(length + 16));
        if (!Fill(size)) return 0;
        answer = Take(size);
        return std::stoi(head.substr(head.find(' ') + 1));
    }
    int Upgrade() {
        SendBytes(
            "GET /commandhub HTTP/1.1\r\nHost: hub\r\nConnection: Upgrade\r\nUpgrade: websocket\r\n"
            "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n");
        return ReadAnswer();
    }
    // The mask is zero, and so the payload stays as it is.
    void SendFrame(std::string_view payload, Opcode opcode = Text) const {
        const size_t size = payload.size();
        std::string frame{static_cast<char>(0x80 | opcode)};
        const int lengthBytes = size < 126 ? 0 : size < 65536 ? 2 : 8;
        frame += static_cast<char>(0x80 | (lengthBytes == 0 ? size : lengthBytes == 2 ? 126 : 127));
        for (int i = lengthBytes - 1; i >= 0; --i) frame += static_cast<char>(size >> (8 * i));
        SendBytes(frame.append(4, '\0').append(payload));
    }
    Received Receive() {
        if (!Fill(2)) return {failure == ECONNRESET ? Reset : Ended, {}, 0};
        const int opcode = static_cast<int>(TakeNumber(1) ^ 0x80);  // the frame is the whole message
        size_t size = TakeNumber(1);
        const size_t lengthBytes = size == 126 ? 2 : size == 127 ? 8 : 0;
        if (!Fill(lengthBytes)) return {};
        if (lengthBytes > 0) size = TakeNumber(lengthBytes);
        if (!Fill(size)) return {};
        const size_t codeBytes = opcode == Close && size >= 2 ? 2 : 0;
        const size_t code = TakeNumber(codeBytes);
        return {opcode, Take(size - codeBytes), code};
    }

    // What comes, up to that many bytes or to the end.
    std::string Read(size_t most) {
        Fill(most);
        return Take(std::min(most, pending.size()));
    }

    std::string head, answer;  // of the latest answer

  private:
    bool Fill(size_t size) {  // `pending` then has that many bytes
        std::array<char, 65536> block;
        while (pending.size() < size) {
            const ssize_t got = recv(socket, block.data(), block.size(), 0);
            if (got < 0) failure = errno;
            if (got <= 0) return false;
            pending.append(block.data(), static_cast<size_t>(got));
        }
        return true;
    }
    std::string Take(size_t size) {
        std::string taken = pending.substr(0, size);
        pending.erase(0, size);
        return taken;
    }
    size_t TakeNumber(size_t size) {
        size_t value = 0;
        for (const char byte : Take(size)) value = value << 8 | static_cast<uint8_t>(byte);
        return value;
    }

    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    int failure = 0;
    std::string pending;
};

}  // namespace orrery::hub
