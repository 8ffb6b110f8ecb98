#include "hub_client.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace orrery::hub {

HubClient::HubClient(uint16_t port) : socket(::socket(AF_INET, SOCK_STREAM, 0)) {
    const timeval deadline{10, 0};
    setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &deadline, sizeof deadline);
    setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &deadline, sizeof deadline);
    const int noDelay = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &noDelay, sizeof noDelay);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) failure = errno;
}

HubClient::~HubClient() {
    close(socket);
}

void HubClient::SendBytes(std::string_view bytes) const {
    while (!bytes.empty()) {
        const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) return;
        bytes.remove_prefix(static_cast<size_t>(sent));
    }
}

bool HubClient::Fill(size_t size) {
    std::array<char, 65536> block;
    while (pending.size() < size) {
        const ssize_t got = recv(socket, block.data(), block.size(), 0);
        if (got < 0) failure = errno;
        if (got <= 0) return false;
        pending.append(block.data(), static_cast<size_t>(got));
    }
    return true;
}

int HubClient::Http(const std::string& method, const std::string& target, const std::string& body) {
    SendBytes(method + ' ' + target +
              " HTTP/1.1\r\nHost: hub\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
    return ReadAnswer();
}

int HubClient::ReadAnswer() {
    size_t end = 0;
    while ((end = pending.find("\r\n\r\n")) == pending.npos) {
        if (!Fill(pending.size() + 1)) return 0;
    }
    const std::string head = pending.substr(0, end + 4);
    pending.erase(0, end + 4);
    const size_t length = head.find("Content-Length: ");
    const size_t size = length == head.npos ? 0 : std::stoul(head.substr(length + 16));
    if (!Fill(size)) return 0;
    answer = pending.substr(0, size);
    pending.erase(0, size);
    return std::stoi(head.substr(head.find(' ') + 1));
}

int HubClient::Upgrade(const std::string& target, const std::string& header) {
    SendBytes("GET " + target +
              " HTTP/1.1\r\nHost: hub\r\nConnection: Upgrade\r\nUpgrade: websocket\r\nSec-WebSocket-Version: "
              "13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n" +
              header + "\r\n");
    return ReadAnswer();
}

bool HubClient::Register(const std::string& device) {
    if (Upgrade() != 101) return false;
    SendFrame(R"({"Type":10,"DeviceId":")" + device + R"(","Parameters":{}})");
    return Receive().payload.starts_with(R"({"Type":20,"Parameters":{"SessiondId":")");
}

void HubClient::Subscribe(const std::string& device, const std::string& topic) const {
    SendFrame(R"({"Type":12,"DeviceId":")" + device + R"(","Parameters":{"Topics":[")" + topic + R"("]}})");
}

// The mask is zero, and so the payload stays as it is.
void HubClient::SendFrame(std::string_view payload, Opcode opcode) const {
    const size_t size = payload.size();
    std::string frame{static_cast<char>(0x80 | opcode)};
    const int lengthBytes = size < 126 ? 0 : size < 65536 ? 2 : 8;
    frame += static_cast<char>(0x80 | (lengthBytes == 0 ? size : lengthBytes == 2 ? 126 : 127));
    for (int i = lengthBytes - 1; i >= 0; --i) frame += static_cast<char>(size >> (8 * i));
    SendBytes(frame.append(4, '\0').append(payload));
}

Received HubClient::Receive() {
    const auto number = [this](size_t at, size_t bytes) {
        size_t value = 0;
        for (size_t i = at; i < at + bytes; ++i) value = value << 8 | static_cast<uint8_t>(pending[i]);
        return value;
    };
    if (!Fill(2)) return {failure == ECONNRESET ? Reset : Ended, {}, 0};
    const size_t first = number(0, 1), shortSize = number(1, 1);
    const size_t lengthBytes = shortSize == 126 ? 2 : shortSize == 127 ? 8 : 0;
    if (!Fill(2 + lengthBytes)) return {};
    const size_t size = lengthBytes == 0 ? shortSize : number(2, lengthBytes);
    if (!Fill(2 + lengthBytes + size)) return {};
    pending.erase(0, 2 + lengthBytes);
    // 0x80: the frame is the whole message.
    Received received{static_cast<int>(first ^ 0x80), {}, 0};
    const size_t codeBytes = received.opcode == Close && size >= 2 ? 2 : 0;
    received.code = number(0, codeBytes);
    received.payload = pending.substr(codeBytes, size - codeBytes);
    pending.erase(0, size);
    return received;
}

}  // namespace orrery::hub
