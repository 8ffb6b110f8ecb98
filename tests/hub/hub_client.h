// A blocking HTTP and WebSocket client on a plain socket. It shares no code with the server and can send what
// no library would. Whatever doesn't come within ten seconds counts as an end. One thread.
#pragma once

#include <cstdint>
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
    explicit HubClient(uint16_t port);
    ~HubClient();
    HubClient(const HubClient&) = delete;
    HubClient& operator=(const HubClient&) = delete;

    void SendBytes(std::string_view bytes) const;
    // The status, with the body in `answer`; 0 if the connection ended.
    int Http(const std::string& method, const std::string& target, const std::string& body = {});
    int ReadAnswer();
    int Upgrade(const std::string& target = "/commandhub", const std::string& header = {});
    // Upgrade and Register; true if a welcome came.
    bool Register(const std::string& device);
    void Subscribe(const std::string& device, const std::string& topic) const;
    void SendFrame(std::string_view payload, Opcode opcode = Text) const;
    Received Receive();

    std::string answer;

  private:
    bool Fill(size_t size);  // `pending` then has that many bytes

    int socket;
    int failure = 0;
    std::string pending;
};

}  // namespace orrery::hub
