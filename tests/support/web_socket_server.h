// A WebSocket server on a port of its own that behaves as a test says. It serves one connection after the
// other on one thread, and ends them all when it goes.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace orrery::test {

enum class ServerManner {
    Listens,         // writes down what comes, until the client goes
    Greets,          // sends ten frames right behind the handshake, then listens
    NeverAnswers,    // takes the connection and reads
    Refuses,         // answers the handshake with status 401
    ClosesAtOnce,    // right behind the handshake
    VanishesOnWord,  // after a frame, without a close frame
    ClosesOnWord,    // after a frame, with status 1001
    MixesFrames,     // sends a binary frame, a ping and an empty frame before each echo
    SendsHugeFrame,  // 33,000,000 bytes
    SendsBadText,    // a text frame that isn't UTF-8
};

class WebSocketServer {
  public:
    explicit WebSocketServer(ServerManner manner);
    ~WebSocketServer();
    std::u16string Uri() const;
    // The text frames that have come.
    std::vector<std::string> Received() const;

  private:
    class Implementation;
    std::unique_ptr<Implementation> implementation;
};

}  // namespace orrery::test
