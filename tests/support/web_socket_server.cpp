#include "support/web_socket_server.h"

#include <sys/socket.h>
#include <unistd.h>

#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <future>
#include <memory>
#include <vector>

#include "platform/text.h"

namespace orrery::test {

namespace asio = boost::asio;
using namespace std::chrono_literals;

namespace http = boost::beast::http;
namespace websocket = boost::beast::websocket;

WebSocketServer::~WebSocketServer() {
    stopped = true;
    ::shutdown(acceptor.native_handle(), SHUT_RDWR);  // ends an accept that waits; closing wouldn't
    {
        MutexLock hold(lock);
        for (const int client : clients) ::shutdown(client, SHUT_RDWR);
    }
    thread.join();
}

std::u16string WebSocketServer::Uri() const {
    return ToWide("ws://" + Address() + "/p");
}

std::string WebSocketServer::Address() const {
    return "127.0.0.1:" + std::to_string(acceptor.local_endpoint().port());
}

void WebSocketServer::Run() {
    std::vector<std::future<void>> served;
    while (!stopped) {
        boost::system::error_code error;
        auto socket = std::make_shared<Socket>(acceptor.accept(error));
        if (error) continue;
        std::erase_if(served, [](const auto& one) { return one.wait_for(0s) == std::future_status::ready; });
        served.push_back(std::async(std::launch::async, [this, socket] { ServeOne(std::move(*socket)); }));
    }
}

void WebSocketServer::ServeOne(Socket socket) {
    const int own = ::dup(socket.native_handle());
    {
        MutexLock hold(lock);
        clients.insert(own);
        if (stopped) ::shutdown(own, SHUT_RDWR);
    }
    try {
        Serve(socket);
    } catch (const boost::system::system_error&) {
        // The client went, or the test ended.
    }
    MutexLock hold(lock);
    clients.erase(own);
    ::close(own);
}

void WebSocketServer::Serve(Socket& socket) {
    const ServerManner manner = nextManner;
    char some[4096];
    while (manner == ServerManner::NeverAnswers) socket.read_some(asio::buffer(some));
    if (manner == ServerManner::Refuses) {
        socket.read_some(asio::buffer(some));
        asio::write(socket, asio::buffer(std::string("HTTP/1.1 401 No\r\nContent-Length: 0\r\n\r\n")));
        return;
    }
    boost::beast::flat_buffer incoming;
    http::request<http::string_body> request;
    http::read(socket, incoming, request);
    if (request.method() == http::verb::connect) {
        asio::write(socket, asio::buffer(std::string("HTTP/1.1 200 OK\r\n\r\n")));
        request = {};
        http::read(socket, incoming, request);
    }
    viaProxy.Note(std::string(request["x-zelko-viaproxy"]));
    websocket::stream<Socket&> stream(socket);
    const auto write = [&stream](const std::string& text) { stream.write(asio::buffer(text)); };
    stream.accept(request);
    if (manner == ServerManner::ClosesAtOnce) return stream.close(websocket::close_code::normal);
    while (manner == ServerManner::FallsSilent) socket.read_some(asio::buffer(some));
    for (int i = 0; manner == ServerManner::Greets && i < 10; ++i) write(std::to_string(i));
    for (;;) {
        boost::beast::flat_buffer word;
        boost::system::error_code error;
        stream.read(word, error);
        if (error == websocket::error::closed) closed.Note(std::to_string(stream.reason().code));
        if (error) return;
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
