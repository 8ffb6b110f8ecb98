// A WebSocket client of the library alone: registers a device, subscribes to its topic, counts what it
// receives. The yardstick for everything that the module adds.
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace bench {

// The library's pool, as the module sets it. Before the first client.
void LimitPool();

class BareReceiver {
  public:
    // `onFrame` is called for each frame, the server's own included, on the library's thread.
    BareReceiver(const std::string& uri, const std::string& device, std::function<void()> onFrame);
    ~BareReceiver();

  private:
    struct Client;
    const std::unique_ptr<Client> client;
};

}  // namespace bench
