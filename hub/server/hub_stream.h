// A connection, plain or TLS, as one type: so that HTTP and WebSocket are compiled once, and neither asks
// which it has. It models what the networking libraries call an asynchronous stream. One thread; operations
// in flight need it to stay where it is.
#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>
#include <boost/beast/websocket/teardown.hpp>
#include <string>
#include <variant>

namespace orrery::hub {

namespace asio = boost::asio;
namespace beast = boost::beast;
using asio::ip::tcp;
using boost::system::error_code;

class HubStream {
  public:
    using executor_type = tcp::socket::executor_type;

    // Without a context the connection is plain; the context must outlive the stream.
    HubStream(tcp::socket socket, asio::ssl::context* tls) : either(Make(std::move(socket), tls)) {}

    executor_type get_executor() { return Socket().get_executor(); }

    tcp::socket& Socket() {
        if (auto* tls = std::get_if<TlsStream>(&either)) return tls->next_layer();
        return std::get<tcp::socket>(either);
    }

    std::string Remote() {
        error_code failed;
        const tcp::endpoint peer = Socket().remote_endpoint(failed);
        const std::string address = peer.address().to_string();
        return (peer.address().is_v6() ? '[' + address + ']' : address) + ':' + std::to_string(peer.port());
    }

    // The peer sees a reset, and operations in flight are aborted.
    void Reset() {
        error_code ignored;
        Socket().set_option(asio::socket_base::linger(true, 0), ignored);
        Socket().close(ignored);
    }

    template <class Handler>
    void AsyncHandshake(Handler&& handler) {
        if (auto* tls = std::get_if<TlsStream>(&either))
            tls->async_handshake(asio::ssl::stream_base::server, std::forward<Handler>(handler));
        else
            asio::post(get_executor(),
                       [done = std::forward<Handler>(handler)]() mutable { done(error_code()); });
    }

    template <class Buffers, class Handler>
    void async_read_some(const Buffers& buffers, Handler&& handler) {
        std::visit([&](auto& s) { s.async_read_some(buffers, std::forward<Handler>(handler)); }, either);
    }

    template <class Buffers, class Handler>
    void async_write_some(const Buffers& buffers, Handler&& handler) {
        std::visit([&](auto& s) { s.async_write_some(buffers, std::forward<Handler>(handler)); }, either);
    }

    friend void beast_close_socket(HubStream& stream) {
        error_code ignored;
        stream.Socket().close(ignored);
    }

    // The end of a WebSocket conversation. The peer's own end isn't waited for in the plain case: the server
    // is the side that closes first.
    template <class Handler>
    friend void async_teardown(beast::role_type role, HubStream& stream, Handler&& handler) {
        if (auto* tls = std::get_if<TlsStream>(&stream.either)) {
            using beast::async_teardown;
            async_teardown(role, *tls, std::forward<Handler>(handler));
            return;
        }
        error_code failed;
        stream.Socket().shutdown(asio::socket_base::shutdown_send, failed);
        asio::post(stream.get_executor(), beast::bind_front_handler(std::forward<Handler>(handler), failed));
    }

  private:
    using TlsStream = beast::ssl_stream<tcp::socket>;
    using Either = std::variant<tcp::socket, TlsStream>;

    static Either Make(tcp::socket socket, asio::ssl::context* tls) {
        if (tls) return Either(std::in_place_type<TlsStream>, std::move(socket), *tls);
        return Either(std::move(socket));
    }

    Either either;
};

}  // namespace orrery::hub
