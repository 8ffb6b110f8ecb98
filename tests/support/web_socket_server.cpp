#include "support/web_socket_server.h"

#include <sys/socket.h>

#include <atomic>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <thread>

#include "platform/mutex.h"
#include "platform/text.h"

namespace orrery::test {

namespace asio = boost::asio;
namespace websocket = boost::beast::websocket;
using asio::ip::tcp;
using Stream = websocket::stream<tcp::socket>;

class WebSocketServer::Implementation {
  public:
    explicit Implementation(ServerManner manner) : manner(manner), thread([this] { Run(); }) {}
    ~Implementation() {
        stopped = true;
        ::shutdown(acceptor.native_handle(), SHUT_RDWR);  // ends an accept that waits; closing wouldn't
        {
            MutexLock hold(lock);
            if (client) ::shutdown(client->native_handle(), SHUT_RDWR);
        }
        thread.join();
    }

    uint16_t Port() const { return acceptor.local_endpoint().port(); }
    std::vector<std::string> Received() {
        MutexLock hold(lock);
        return received;
    }

  private:
    void Run() {
        while (!stopped) {
            boost::system::error_code error;
            tcp::socket socket = acceptor.accept(error);
            if (error) continue;
            Stream stream(std::move(socket));
            SetClient(&stream.next_layer());
            try {
                Serve(stream);
            } catch (const boost::system::system_error&) {
                // The client went, or the test ended.
            }
            SetClient(nullptr);
        }
    }

    void SetClient(tcp::socket* socket) {
        MutexLock hold(lock);
        client = socket;
        if (client && stopped) ::shutdown(client->native_handle(), SHUT_RDWR);
    }

    void Serve(Stream& stream) {
        char some[4096];
        if (manner == ServerManner::NeverAnswers) {
            for (;;) stream.next_layer().read_some(asio::buffer(some));
        }
        if (manner == ServerManner::Refuses) {
            stream.next_layer().read_some(asio::buffer(some));
            const std::string answer = "HTTP/1.1 401 Unauthorized\r\nContent-Length: 0\r\n\r\n";
            asio::write(stream.next_layer(), asio::buffer(answer));
            return;
        }
        stream.accept();
        if (manner == ServerManner::ClosesAtOnce) return stream.close(websocket::close_code::normal);
        if (manner == ServerManner::SendsHugeFrame) Write(stream, std::string(33'000'000, 'x'));
        if (manner == ServerManner::SendsBadText) Write(stream, "\xFF\xFE");
        for (int i = 0; manner == ServerManner::Greets && i < 10; ++i) Write(stream, std::to_string(i));
        for (;;) {
            boost::beast::flat_buffer buffer;
            stream.read(buffer);
            const std::string text(static_cast<const char*>(buffer.data().data()), buffer.size());
            {
                MutexLock hold(lock);
                received.push_back(text);
            }
            if (manner == ServerManner::VanishesOnWord) return;
            if (manner == ServerManner::ClosesOnWord) return stream.close(websocket::close_code::going_away);
            if (manner != ServerManner::MixesFrames) continue;
            stream.binary(true);
            Write(stream, "binary");
            stream.binary(false);
            stream.ping({});
            Write(stream, "");
            Write(stream, text);
        }
    }

    static void Write(Stream& stream, const std::string& text) { stream.write(asio::buffer(text)); }

    const ServerManner manner;
    asio::io_context context;
    tcp::acceptor acceptor{context, {asio::ip::address_v4::loopback(), 0}};
    std::atomic<bool> stopped{false};
    Mutex lock;
    tcp::socket* client GUARDED_BY(lock) = nullptr;
    std::vector<std::string> received GUARDED_BY(lock);
    std::thread thread;  // the last field: it runs when the others are there
};

WebSocketServer::WebSocketServer(ServerManner manner)
    : implementation(std::make_unique<Implementation>(manner)) {}
WebSocketServer::~WebSocketServer() = default;

std::u16string WebSocketServer::Uri() const {
    return ToWide("ws://127.0.0.1:" + std::to_string(implementation->Port()) + "/p");
}

std::vector<std::string> WebSocketServer::Received() const {
    return implementation->Received();
}

}  // namespace orrery::test
