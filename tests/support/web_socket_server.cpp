#include "support/web_socket_server.h"

#include <sys/socket.h>
#include <unistd.h>

#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>

#include "platform/text.h"

namespace orrery::test {

namespace asio = boost::asio;
namespace websocket = boost::beast::websocket;

WebSocketServer::~WebSocketServer() {
    stopped = true;
    ::shutdown(acceptor.native_handle(), SHUT_RDWR);  // ends an accept that waits; closing wouldn't
    {
        MutexLock hold(lock);
        ::shutdown(client, SHUT_RDWR);
    }
    thread.join();
}

std::u16string WebSocketServer::Uri() const {
    return ToWide("ws://127.0.0.1:" + std::to_string(acceptor.local_endpoint().port()) + "/p");
}

void WebSocketServer::Run() {
    while (!stopped) {
        boost::system::error_code error;
        Socket socket = acceptor.accept(error);
        if (error) continue;
        const int own = ::dup(socket.native_handle());
        SetClient(own);
        try {
            Serve(socket);
        } catch (const boost::system::system_error&) {
            // The client went, or the test ended.
        }
        SetClient(-1);
        ::close(own);
    }
}

void WebSocketServer::SetClient(int descriptor) {
    MutexLock hold(lock);
    client = descriptor;
    if (stopped) ::shutdown(client, SHUT_RDWR);
}

void WebSocketServer::Serve(Socket& socket) {
    char some[4096];
    while (manner == ServerManner::NeverAnswers) socket.read_some(asio::buffer(some));
    if (manner == ServerManner::Refuses) {
        socket.read_some(asio::buffer(some));
        asio::write(socket, asio::buffer(std::string("HTTP/1.1 401 No\r\nContent-Length: 0\r\n\r\n")));
        return;
    }
    websocket::stream<Socket&> stream(socket);
    const auto write = [&stream](const std::string& text) { stream.write(asio::buffer(text)); };
    stream.accept();
    if (manner == ServerManner::ClosesAtOnce) return stream.close(websocket::close_code::normal);
    for (int i = 0; manner == ServerManner::Greets && i < 10; ++i) write(std::to_string(i));
    for (;;) {
        boost::beast::flat_buffer word;
        stream.read(word);
        if (manner == ServerManner::VanishesOnWord) return;
        if (manner == ServerManner::ClosesOnWord) return stream.close(websocket::close_code::going_away);
        if (manner == ServerManner::SendsHugeFrame) write(std::string(33'000'000, 'x'));
        if (manner == ServerManner::SendsBadText) write("\xFF\xFE");
        if (manner != ServerManner::Echoes) continue;
        stream.binary(true);
        write("binary");
        stream.binary(false);
        stream.ping({});
        write("");
        stream.write(word.data());
    }
}

}  // namespace orrery::test
