#include "standins/prefstore/change_watch.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <new>

namespace orrery::prefstore {

namespace {

// Not IN_MODIFY: pages reach the file before the transaction is visible to readers. A writer announces a
// complete one by the file's times (IN_ATTRIB); one that died before that, or a tool that knows nothing of
// announcements, shows when the file is closed.
constexpr uint32_t changes = IN_ATTRIB | IN_CLOSE_WRITE | IN_MOVE_SELF | IN_DELETE_SELF;

// A lock of the descriptor and not of the process, which may have several stores: see fcntl(2).
struct flock Mark(short type) {
    return {.l_type = type, .l_whence = SEEK_SET, .l_start = 0, .l_len = 1, .l_pid = 0};
}

int OpenMarked(const std::string& folder) {
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    struct flock mark = Mark(F_RDLCK);
    if (descriptor < 0 || fcntl(descriptor, F_OFD_SETLK, &mark) == 0) return descriptor;
    close(descriptor);
    return -1;
}

}  // namespace

ChangeWatch::ChangeWatch()
    : inotify(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)), wakeEvent(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
    if (wakeEvent >= 0) return;
    if (inotify >= 0) close(inotify);
    throw std::bad_alloc();
}

ChangeWatch::~ChangeWatch() {
    if (presence >= 0) close(presence);
    if (inotify >= 0) close(inotify);
    close(wakeEvent);
}

bool ChangeWatch::Watch(const std::string& folder, const std::string& newPath) {
    path = newPath;
    if (inotify < 0) return false;
    if (presence >= 0) close(presence);
    presence = OpenMarked(folder);
    if (watched >= 0) inotify_rm_watch(inotify, watched);
    watched = inotify_add_watch(inotify, path.c_str(), changes);
    return watched >= 0;
}

void ChangeWatch::Announce() const {
    if (!IsAlone()) utimensat(AT_FDCWD, path.c_str(), nullptr, 0);
}

// Nobody else has marked the folder. Whoever does so from now on reads the file afterwards.
bool ChangeWatch::IsAlone() const {
    struct flock other = Mark(F_WRLCK);
    return presence >= 0 && fcntl(presence, F_OFD_GETLK, &other) == 0 && other.l_type == F_UNLCK;
}

void ChangeWatch::Wake() {
    eventfd_write(wakeEvent, 1);
}

bool ChangeWatch::Wait() {
    std::array<pollfd, 2> sources{{{inotify, POLLIN, 0}, {wakeEvent, POLLIN, 0}}};
    while (poll(sources.data(), sources.size(), -1) < 0) {
    }
    eventfd_t wakeUps = 0;
    eventfd_read(wakeEvent, &wakeUps);
    bool changed = false;
    alignas(inotify_event) std::array<char, 4096> events;
    while (inotify >= 0 && read(inotify, events.data(), events.size()) > 0) changed = true;
    return changed;
}

}  // namespace orrery::prefstore
