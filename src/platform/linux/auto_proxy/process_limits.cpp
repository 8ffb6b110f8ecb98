#include "platform/linux/auto_proxy/process_limits.h"

#include <grp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <fstream>

namespace orrery::platform {
namespace {

constexpr unsigned lifetime = 20;                    // seconds
constexpr rlim_t processorTime = 2;                  // seconds
constexpr rlim_t extraMemory = 256UL * 1024 * 1024;  // bytes
constexpr rlim_t descriptors = 32;
constexpr unsigned nobody = 65534;  // user and group

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool limitsMemory = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool limitsMemory = false;
#else
constexpr bool limitsMemory = true;
#endif
#else
constexpr bool limitsMemory = true;
#endif

bool Limit(__rlimit_resource_t resource, rlim_t soft, rlim_t hard) {
    const rlimit limit{soft, hard};
    return setrlimit(resource, &limit) == 0;
}

// The sanitizers reserve terabytes of addresses for their shadow and map more as they go, so under them a
// limit ends the process at some allocation of theirs and not at one of the script.
bool LimitMemory() {
    if (!limitsMemory) return true;
    rlim_t pages = 0;
    if (!(std::ifstream("/proc/self/statm") >> pages)) return false;
    const rlim_t limit = pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + extraMemory;
    return Limit(RLIMIT_AS, limit, limit);
}

// The script engine is old; a script that breaks out of it shall not find itself root.
bool DropRights() {
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return false;
    if (geteuid() != 0) return true;
    return setgroups(0, nullptr) == 0 && setgid(nobody) == 0 && setuid(nobody) == 0;
}

}  // namespace

void LimitLifetime() {
    Limit(RLIMIT_CORE, 0, 0);
    alarm(lifetime);
}

bool LimitForScript() {
    // SIGXCPU at the soft limit, SIGKILL a second later.
    return LimitMemory() && Limit(RLIMIT_CPU, processorTime, processorTime + 1) &&
           Limit(RLIMIT_NOFILE, descriptors, descriptors) && Limit(RLIMIT_FSIZE, 0, 0) && DropRights();
}

}  // namespace orrery::platform
