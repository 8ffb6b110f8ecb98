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

}  // namespace

ChangeWatch::ChangeWatch()
    : inotify(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)), wakeEvent(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
    if (wakeEvent >= 0) return;
    if (inotify >= 0) close(inotify);
    throw std::bad_alloc();
}

ChangeWatch::~ChangeWatch() {
    if (inotify >= 0) close(inotify);
    close(wakeEvent);
}

bool ChangeWatch::Watch(const std::string& path) {
    if (inotify < 0) return false;
    if (watched >= 0) inotify_rm_watch(inotify, watched);
    watched = inotify_add_watch(inotify, path.c_str(), changes);
    return watched >= 0;
}

void ChangeWatch::Announce(const std::string& path) {
    utimensat(AT_FDCWD, path.c_str(), nullptr, 0);
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
