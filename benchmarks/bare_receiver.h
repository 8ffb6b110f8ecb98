// A WebSocket client of the library alone: registers a device, subscribes to its topic, counts what it
// receives. The yardstick for everything that the module adds.
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace bench {

// The library's pool, as the module sets it. Before the first client.
void LimitPool();

// How a frame's text is taken from the library: at once, on its thread; the same, and the JSON documents of a
// push are read by the library that the module has for that, so that it shows what no reader can do without;
// or by a continuation, as the documentation shows, which the handler waits for so that frames stay in order.
enum class Taking { Directly, AndParsing, ByContinuation };

class BareReceiver {
  public:
    // `onFrame` is called for each frame, the server's own included, on one of the library's threads.
    BareReceiver(const std::string& uri, const std::string& device, Taking taking,
                 std::function<void()> onFrame);
    ~BareReceiver();

  private:
    struct Client;
    const std::unique_ptr<Client> client;
};

}  // namespace bench
