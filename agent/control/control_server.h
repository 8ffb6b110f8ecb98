// Takes requests over the home's socket on the main loop's thread, without ever waiting for a client. What a
// request means is the handler's business.
//
// All operations on the main thread; a ControlReply may be used on any.
#pragma once

#include <poll.h>

#include <functional>
#include <list>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "agent/system/file_descriptor.h"

namespace orrery::agent {

// The way back to one client. Dropped without Send it tells the client that no answer will come.
class ControlReply {
  public:
    explicit ControlReply(FileDescriptor client) : client(std::move(client)) {}
    // Once; some kilobytes at most. A client that has gone is not an error.
    void Send(const std::string& answer);

  private:
    FileDescriptor client;
};

class ControlServer {
  public:
    using Handler = std::function<void(const std::string& request, std::shared_ptr<ControlReply> reply)>;

    // Null on failure, and `problem` says why. The caller holds the home's lock.
    static std::unique_ptr<ControlServer> Open(const std::string& home, Handler handler,
                                               std::string& problem);
    ~ControlServer();
    ControlServer(const ControlServer&) = delete;
    ControlServer& operator=(const ControlServer&) = delete;

    // What the main loop is to poll, and what it found; in between nothing else is called.
    void AppendDescriptors(std::vector<pollfd>& descriptors) const;
    void Serve(std::span<const pollfd> descriptors);

  private:
    struct Client {
        FileDescriptor socket;
        std::string request;
    };
    ControlServer(std::string home, FileDescriptor listening, Handler handler);
    void Accept();
    bool Receive(Client& client);

    const std::string home;
    const Handler handler;
    FileDescriptor listening;
    std::list<Client> clients;  // whose requests aren't complete, oldest first
};

}  // namespace orrery::agent
