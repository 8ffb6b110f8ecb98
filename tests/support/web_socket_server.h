// A WebSocket server on a port of its own that behaves as a test says. It serves each connection on a
// thread of its own, and ends them all when it goes.
#pragma once

#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "platform/text.h"
#include "support/call_log.h"

namespace orrery::test {

enum class ServerManner {
    Refuses,       // closes without an answer
    ClosesAtOnce,  // right behind the handshake
    Greets,        // with ten frames right behind the handshake
    FallsSilent,   // behind the handshake: it answers no frame, not even a close
    // The others wait for a frame from the client.
    Echoes,          // a binary frame, a ping, an empty frame, then the text itself
    VanishesOnWord,  // without a close frame
    ClosesOnWord,
};

class WebSocketServer {
  public:
    explicit WebSocketServer(ServerManner manner) : nextManner(manner), thread([this] { Run(); }) {}
    ~WebSocketServer() {
        ::shutdown(acceptor.native_handle(), SHUT_RDWR);  // ends an accept that waits; closing wouldn't
        thread.join();
        for (const int client : clients) ::shutdown(client, SHUT_RDWR);
        served.clear();
        for (const int client : clients) ::close(client);
    }
    std::u16string Uri() const {
        return ToWide("ws://127.0.0.1:" + std::to_string(acceptor.local_endpoint().port()) + "/p");
    }
    // From the next connection on.
    void Behave(ServerManner next) { nextManner = next; }

    CallLog closed;  // of each connection the status of the client's close

  private:
    using Socket = boost::asio::ip::tcp::socket;

    void Run() {
        for (;;) {
            boost::system::error_code error;
            Socket accepted = acceptor.accept(error);
            if (error) return;
            clients.push_back(::dup(accepted.native_handle()));
            served.push_back(std::async(std::launch::async,
                                        [this, own = clients.back(), socket = std::move(accepted)]() mutable {
                                            try {
                                                Serve(std::move(socket));
                                            } catch (const boost::system::system_error&) {
                                                // The client went, or the test ended.
                                            }
                                            ::shutdown(own, SHUT_RDWR);
                                        }));
        }
    }
    void Serve(Socket socket) {
        using boost::beast::websocket::close_code;
        const ServerManner manner = nextManner;
        if (manner == ServerManner::Refuses) return;
        boost::beast::websocket::stream<Socket&> stream(socket);
        const auto write = [&stream](const std::string& text) { stream.write(boost::asio::buffer(text)); };
        stream.accept();
        if (manner == ServerManner::ClosesAtOnce) return stream.close(close_code::normal);
        char some[4096];
        while (manner == ServerManner::FallsSilent) socket.read_some(boost::asio::buffer(some));
        for (int i = 0; manner == ServerManner::Greets && i < 10; ++i) write(std::to_string(i));
        for (;;) {
            boost::beast::flat_buffer word;
            boost::system::error_code error;
            stream.read(word, error);
            if (error == boost::beast::websocket::error::closed)
                closed.Note(std::to_string(stream.reason().code));
            if (error || manner == ServerManner::VanishesOnWord) return;
            if (manner == ServerManner::ClosesOnWord) return stream.close(close_code::going_away);
            if (manner != ServerManner::Echoes) continue;
            stream.binary(true);
            write("binary");
            stream.binary(false);
            stream.ping({});
            write("");
            stream.write(word.data());
        }
    }

    std::atomic<ServerManner> nextManner;
    boost::asio::io_context context;
    boost::asio::ip::tcp::acceptor acceptor{context, {boost::asio::ip::address_v4::loopback(), 0}};
    // Of the accepting thread, while it runs.
    std::vector<int> clients;  // descriptors of their own, as a close frame ends the sockets'
    std::vector<std::future<void>> served;
    std::thread thread;  // the last field: it runs when the others are there
};

}  // namespace orrery::test
