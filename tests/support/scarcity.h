// Takes from the process what its system has to give, for as long as the object lives: what already runs or
// is open goes on.
#pragma once

#include <fcntl.h>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <vector>

namespace orrery::test {

// No file, socket or event can be opened.
class NoDescriptors {
  public:
    NoDescriptors() {
        ::getrlimit(RLIMIT_NOFILE, &before);
        // High enough for the waits of other threads: poll takes no more descriptors than the limit.
        const rlimit few{.rlim_cur = 256, .rlim_max = before.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &few);
        for (int taken; (taken = ::open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0;) held.push_back(taken);
    }
    ~NoDescriptors() {
        for (const int taken : held) ::close(taken);
        ::setrlimit(RLIMIT_NOFILE, &before);
    }
    NoDescriptors(const NoDescriptors&) = delete;
    NoDescriptors& operator=(const NoDescriptors&) = delete;

  private:
    rlimit before{};
    std::vector<int> held;
};

// No thread can be started: each would have a stack larger than what can be addressed.
class NoThreads {
  public:
    NoThreads() {
        ::pthread_getattr_default_np(&before);
        pthread_attr_t huge;
        ::pthread_getattr_default_np(&huge);
        ::pthread_attr_setstacksize(&huge, size_t{1} << 48);
        ::pthread_setattr_default_np(&huge);
        ::pthread_attr_destroy(&huge);
    }
    ~NoThreads() {
        ::pthread_setattr_default_np(&before);
        ::pthread_attr_destroy(&before);
    }
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;

  private:
    pthread_attr_t before{};
};

}  // namespace orrery::test
