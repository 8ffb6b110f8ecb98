#include "agent/control/control_server.h"

#include <sys/socket.h>

#include <cerrno>

#include "agent/control/control_socket.h"

namespace orrery::agent {

namespace {

constexpr size_t mostClients = 32;                   // with requests that aren't complete
constexpr size_t longestRequest = 32 * 1024 * 1024;  // bytes

bool IsReady(std::span<const pollfd> descriptors, int descriptor) {
    for (const pollfd& entry : descriptors) {
        if (entry.fd == descriptor) return entry.revents != 0;
    }
    return false;
}

}  // namespace

void ControlReply::Send(const std::string& answer) {
    send(client.Get(), answer.data(), answer.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    client.Close();
}

std::unique_ptr<ControlServer> ControlServer::Open(const std::string& home, Handler handler,
                                                   std::string& problem) {
    FileDescriptor listening = ListenInHome(home, problem);
    if (!listening.IsOpen()) return nullptr;
    return std::unique_ptr<ControlServer>(new ControlServer(home, std::move(listening), std::move(handler)));
}

ControlServer::ControlServer(std::string home, FileDescriptor listening, Handler handler)
    : home(std::move(home)), handler(std::move(handler)), listening(std::move(listening)) {}

ControlServer::~ControlServer() {
    RemoveFromHome(home);
}

void ControlServer::AppendDescriptors(std::vector<pollfd>& descriptors) const {
    descriptors.push_back({listening.Get(), POLLIN, 0});
    for (const Client& client : clients) descriptors.push_back({client.socket.Get(), POLLIN, 0});
}

void ControlServer::Serve(std::span<const pollfd> descriptors) {
    for (auto client = clients.begin(); client != clients.end();) {
        const bool done = IsReady(descriptors, client->socket.Get()) && Receive(*client);
        client = done ? clients.erase(client) : std::next(client);
    }
    if (IsReady(descriptors, listening.Get())) Accept();
}

// A client that never completes its request gives way to new ones.
void ControlServer::Accept() {
    FileDescriptor socket(accept4(listening.Get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!socket.IsOpen()) return;
    if (clients.size() == mostClients) clients.pop_front();
    clients.push_back({std::move(socket), {}});
}

// True once nothing more is to be read from the client.
bool ControlServer::Receive(Client& client) {
    char buffer[65'536];
    const ssize_t count = recv(client.socket.Get(), buffer, sizeof buffer, 0);
    if (count < 0) return errno != EAGAIN && errno != EINTR;
    if (count > 0) {
        client.request.append(buffer, static_cast<size_t>(count));
        return client.request.size() > longestRequest;
    }
    handler(client.request, std::make_shared<ControlReply>(std::move(client.socket)));
    return true;
}

}  // namespace orrery::agent
