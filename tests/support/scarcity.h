// Take from the process what its system has to give, while `act` runs: what already runs or is open goes on.
#pragma once

#include <fcntl.h>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <functional>
#include <vector>

namespace orrery::test {

// No file, socket or event can be opened.
inline void WithoutDescriptors(const std::function<void()>& act) {
    rlimit before{};
    ::getrlimit(RLIMIT_NOFILE, &before);
    // High enough for the waits of other threads: poll takes no more descriptors than the limit.
    const rlimit few{.rlim_cur = 256, .rlim_max = before.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &few);
    std::vector<int> held;
    for (int taken; (taken = ::open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0;) held.push_back(taken);
    act();
    for (const int taken : held) ::close(taken);
    ::setrlimit(RLIMIT_NOFILE, &before);
}

// No thread can be started: each would have a stack larger than what can be addressed.
inline void WithoutThreads(const std::function<void()>& act) {
    pthread_attr_t before, huge;
    ::pthread_getattr_default_np(&before);
    ::pthread_getattr_default_np(&huge);
    ::pthread_attr_setstacksize(&huge, size_t{1} << 48);
    ::pthread_setattr_default_np(&huge);
    act();
    ::pthread_setattr_default_np(&before);
    ::pthread_attr_destroy(&huge);
    ::pthread_attr_destroy(&before);
}

}  // namespace orrery::test
