#include "agent/control/control_socket.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace orrery::agent {

namespace {

constexpr char socketName[] = "agent.sock";

std::string SocketPath(const std::string& home) {
    return home + "/" + socketName;
}

std::string ErrorText() {
    return std::generic_category().message(errno);
}

// A socket's address holds about a hundred characters, a home's path may be longer: so the folder is named
// through its descriptor.
sockaddr_un AddressIn(const FileDescriptor& folder) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "/proc/self/fd/%d/%s", folder.Get(), socketName);
    return address;
}

FileDescriptor OpenFolder(const std::string& home) {
    return FileDescriptor(open(home.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

FileDescriptor NewSocket(int flags) {
    return FileDescriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
}

}  // namespace

FileDescriptor ListenInHome(const std::string& home, std::string& problem) {
    RemoveFromHome(home);
    const FileDescriptor folder = OpenFolder(home);
    FileDescriptor listening = NewSocket(SOCK_NONBLOCK);
    const sockaddr_un address = AddressIn(folder);
    // The socket is born closed to others; no other thread runs yet that could make a file meanwhile.
    const mode_t before = umask(0177);
    const bool bound =
        bind(listening.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    umask(before);
    if (!bound || listen(listening.Get(), SOMAXCONN) != 0) {
        problem = "can't listen at " + SocketPath(home) + ": " + ErrorText();
        listening.Close();
    }
    return listening;
}

FileDescriptor ConnectToHome(const std::string& home, std::string& problem) {
    const FileDescriptor folder = OpenFolder(home);
    FileDescriptor connected = NewSocket(0);
    const sockaddr_un address = AddressIn(folder);
    if (connect(connected.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
        return connected;
    const bool nobody = errno == ENOENT || errno == ECONNREFUSED;
    problem = nobody ? "no agent runs in " + home : "can't reach the agent in " + home + ": " + ErrorText();
    return FileDescriptor();
}

void RemoveFromHome(const std::string& home) {
    unlink(SocketPath(home).c_str());
}

}  // namespace orrery::agent
