#include "agent/home/home_lock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <system_error>

namespace orrery::agent {

bool HomeLock::Take(const std::string& lockFile, std::string& problem) {
    file = FileDescriptor(open(lockFile.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!file.IsOpen()) {
        problem = "can't make " + lockFile + ": " + std::generic_category().message(errno);
    } else if (flock(file.Get(), LOCK_EX | LOCK_NB) != 0) {
        problem = "another agent runs in this home (" + lockFile + " is held)";
        file.Close();
    }
    return file.IsOpen();
}

}  // namespace orrery::agent
