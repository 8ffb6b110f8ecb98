#include "benchmarks/bare_receiver.h"

#include <cpprest/ws_client.h>
#include <json-parser/json.h>
#include <pplx/threadpool.h>

#include <cstdlib>
#include <memory>
#include <string_view>

namespace bench {

namespace ws = web::websockets::client;

namespace {

struct FreeValue {
    void operator()(json_value* value) const {
        json_settings settings{};
        settings.mem_alloc = [](size_t size, int zero, void*) {
            return zero ? std::calloc(1, size) : std::malloc(size);
        };
        settings.mem_free = [](void* memory, void*) { std::free(memory); };
        json_value_free_ex(&settings, value);
    }
};
using Value = std::unique_ptr<json_value, FreeValue>;

// `text` is zero-terminated.
Value Parse(std::string_view text) {
    json_settings settings{};
    return Value(json_parse_ex(&settings, text.data(), text.size(), nullptr));
}

const json_value* Member(const json_value* object, std::string_view name) {
    if (!object || object->type != json_object) return nullptr;
    for (unsigned int i = 0; i < object->u.object.length; ++i) {
        const json_object_entry& entry = object->u.object.values[i];
        if (name == std::string_view(entry.name, entry.name_length)) return entry.value;
    }
    return nullptr;
}

// The frame, and the document that it carries as a text.
void ParseBoth(const std::string& text) {
    const Value frame = Parse(text);
    const json_value* const message = Member(Member(frame.get(), "Parameters"), "Message");
    if (message && message->type == json_string) Parse({message->u.string.ptr, message->u.string.length});
}

}  // namespace

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
        if (taking == Taking::ByContinuation) {
            message.extract_string().then([&onFrame](const std::string&) { onFrame(); }).wait();
            return;
        }
        const std::string text = message.extract_string().get();
        if (taking == Taking::AndParsing) ParseBoth(text);
        onFrame();
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
