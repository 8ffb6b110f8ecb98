// A WebSocket server on a port of its own that behaves as a test says. It serves each connection on a
// thread of its own, and ends them all when it goes.
#pragma once

#include <atomic>
#include <boost/asio/ip/tcp.hpp>
#include <set>
#include <string>
#include <thread>

#include "platform/mutex.h"
#include "support/call_log.h"

namespace orrery::test {

enum class ServerManner {
    NeverAnswers,  // takes the connection and reads
    Refuses,       // with status 401
    ClosesAtOnce,  // right behind the handshake
    Greets,        // with ten frames right behind the handshake
    FallsSilent,   // behind the handshake: it answers no frame, not even a close
    // The others wait for a frame from the client.
    Echoes,          // a binary frame, a ping, an empty frame, then the text itself
    VanishesOnWord,  // without a close frame
    ClosesOnWord,
    SendsHugeFrame,  // 33,000,000 bytes
    SendsBadText,    // that isn't UTF-8
};

class WebSocketServer {
  public:
    explicit WebSocketServer(ServerManner manner) : nextManner(manner), thread([this] { Run(); }) {}
    ~WebSocketServer();
    std::u16string Uri() const;
    // "127.0.0.1:PORT", as a proxy's address too: it is the proxy that it speaks through.
    std::string Address() const;
    // From the next connection on.
    void Behave(ServerManner next) { nextManner = next; }
    // Of each connection in order: the header that tells of a proxy, and the status of the client's close.
    CallLog viaProxy, closed;

  private:
    using Socket = boost::asio::ip::tcp::socket;
    void Run();
    void ServeOne(Socket socket);
    void Serve(Socket& socket);

    std::atomic<ServerManner> nextManner;
    boost::asio::io_context context;
    boost::asio::ip::tcp::acceptor acceptor{context, {boost::asio::ip::address_v4::loopback(), 0}};
    std::atomic<bool> stopped{false};
    Mutex lock;
    std::set<int> clients GUARDED_BY(lock);  // descriptors of their own, as a close frame ends the sockets'
    std::thread thread;                      // the last field: it runs when the others are there
};

}  // namespace orrery::test
