#include "agent/control/control_client.h"

#include <sys/socket.h>

#include <cerrno>
#include <string_view>

#include "agent/control/control_socket.h"

namespace orrery::agent {

namespace {

bool SendAll(int socket, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR) return false;
        if (sent > 0) bytes.remove_prefix(static_cast<size_t>(sent));
    }
    return shutdown(socket, SHUT_WR) == 0;
}

bool ReceiveAll(int socket, std::string& bytes) {
    char buffer[4096];
    for (;;) {
        const ssize_t count = recv(socket, buffer, sizeof buffer, 0);
        if (count == 0) return !bytes.empty();
        if (count < 0 && errno != EINTR) return false;
        if (count > 0) bytes.append(buffer, static_cast<size_t>(count));
    }
}

}  // namespace

bool AskAgent(const std::string& home, const std::string& request, std::string& answer,
              std::string& problem) {
    const FileDescriptor socket = ConnectToHome(home, problem);
    if (!socket.IsOpen()) return false;
    if (SendAll(socket.Get(), request) && ReceiveAll(socket.Get(), answer)) return true;
    problem = "the agent went away without an answer";
    return false;
}

}  // namespace orrery::agent
