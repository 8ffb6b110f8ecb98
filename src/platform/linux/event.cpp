#include "platform/event.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <new>

#include "platform/clock.h"

namespace orrery::platform {

namespace {

// Waits are for a handful of events; the bound spares an allocation that could fail.
constexpr size_t mostEvents = 64;

std::chrono::milliseconds Milliseconds(uint64_t count) {
    return std::chrono::milliseconds(std::min<uint64_t>(count, INT64_MAX));
}

timespec Timespec(std::chrono::nanoseconds time) {
    constexpr int64_t nanosecondsPerSecond = 1'000'000'000;
    return {.tv_sec = time.count() / nanosecondsPerSecond, .tv_nsec = time.count() % nanosecondsPerSecond};
}

// As poll(2) answers, but a signal doesn't end the wait.
int Poll(std::span<pollfd> descriptors, int64_t deadline) {
    for (;;) {
        const std::chrono::nanoseconds left = TimeUntil(deadline);
        const timespec time = Timespec(left);
        const int count = ::ppoll(descriptors.data(), descriptors.size(), &time, nullptr);
        if (count > 0 || (count < 0 && errno != EINTR)) return count;
        if (count == 0 && left == left.zero()) return 0;
    }
}

}  // namespace

Event::Event() : descriptor(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
    if (descriptor < 0) throw std::bad_alloc();
}

Event::~Event() {
    ::close(descriptor);
}

// Neither call can fail in a way that matters: a full counter is signalled, an empty one isn't.
void Event::Set() {
    sets.fetch_add(1, std::memory_order_release);
    ::eventfd_write(descriptor, 1);
}

void Event::Reset() {
    eventfd_t ignored = 0;
    ::eventfd_read(descriptor, &ignored);
}

bool Event::IsSet() const {
    pollfd one{.fd = descriptor, .events = POLLIN, .revents = 0};
    const bool isSet = ::poll(&one, 1, 0) == 1;
    sets.load(std::memory_order_acquire);
    return isSet;
}

int WaitForAny(std::span<Event* const> events, uint64_t milliseconds) {
    if (events.empty() || events.size() > mostEvents) return WaitFailed;
    std::array<pollfd, mostEvents> storage{};
    const std::span descriptors(storage.data(), events.size());
    std::transform(events.begin(), events.end(), descriptors.begin(), [](const Event* event) {
        return pollfd{.fd = event->descriptor, .events = POLLIN, .revents = 0};
    });
    const int count = Poll(descriptors, SteadyDeadline(Milliseconds(milliseconds)));
    if (count <= 0) return count == 0 ? WaitTimeout : WaitFailed;
    const auto first = std::find_if(descriptors.begin(), descriptors.end(),
                                    [](const pollfd& one) { return one.revents != 0; });
    if (first->revents != POLLIN) return WaitFailed;
    const auto index = first - descriptors.begin();
    events[static_cast<size_t>(index)]->sets.load(std::memory_order_acquire);
    return static_cast<int>(index);
}

}  // namespace orrery::platform
