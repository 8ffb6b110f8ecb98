#include "benchmarks/bare_receiver.h"

#include <cpprest/ws_client.h>
#include <pplx/threadpool.h>

namespace bench {

namespace ws = web::websockets::client;

struct BareReceiver::Client {
    ws::websocket_callback_client library;
};

void LimitPool() {
    crossplat::threadpool::initialize_with_threads(2);
}

BareReceiver::BareReceiver(const std::string& uri, const std::string& device, Taking taking,
                           std::function<void()> onFrame)
    : client(std::make_unique<Client>()) {
    client->library.set_message_handler([taking, onFrame](const ws::websocket_incoming_message& message) {
        if (taking == Taking::Directly) {
            message.extract_string().get();
            onFrame();
        } else {
            message.extract_string().then([&onFrame](const std::string&) { onFrame(); }).wait();
        }
    });
    client->library.connect(web::uri(uri)).wait();
    for (const std::string& frame :
         {R"({"Type":10,"DeviceId":")" + device + R"(","Parameters":{}})",
          R"({"Type":12,"DeviceId":")" + device + R"(","Parameters":{"Topics":["D)" + device + R"("]}})"}) {
        ws::websocket_outgoing_message message;
        message.set_utf8_message(frame);
        client->library.send(message).wait();
    }
}

BareReceiver::~BareReceiver() {
    client->library.close().wait();
}

}  // namespace bench
