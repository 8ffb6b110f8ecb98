// A WebSocket server on a port of its own that behaves as a test says. It serves one connection after the
// other on one thread, and ends them all when it goes.
#pragma once

#include <atomic>
#include <boost/asio/ip/tcp.hpp>
#include <string>
#include <thread>

#include "platform/mutex.h"

namespace orrery::test {

enum class ServerManner {
    NeverAnswers,  // takes the connection and reads
    Refuses,       // with status 401
    ClosesAtOnce,  // right behind the handshake
    Greets,        // with ten frames right behind the handshake
    // The others wait for a frame from the client.
    Echoes,          // a binary frame, a ping, an empty frame, then the text itself
    VanishesOnWord,  // without a close frame
    ClosesOnWord,
    SendsHugeFrame,  // 33,000,000 bytes
    SendsBadText,    // that isn't UTF-8
};

class WebSocketServer {
  public:
    explicit WebSocketServer(ServerManner manner) : manner(manner), thread([this] { Run(); }) {}
    ~WebSocketServer();
    std::u16string Uri() const;

  private:
    using Socket = boost::asio::ip::tcp::socket;
    void Run();
    void Serve(Socket& socket);
    void SetClient(int descriptor);

    const ServerManner manner;
    boost::asio::io_context context;
    boost::asio::ip::tcp::acceptor acceptor{context, {boost::asio::ip::address_v4::loopback(), 0}};
    std::atomic<bool> stopped{false};
    Mutex lock;
    int client GUARDED_BY(lock) = -1;  // a descriptor of its own, as a close frame ends the socket's
    std::thread thread;                // the last field: it runs when the others are there
};

}  // namespace orrery::test
