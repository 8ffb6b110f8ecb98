// A mutex that the compiler's thread-safety analysis understands, and its scoped holders.
// See https://clang.llvm.org/docs/ThreadSafetyAnalysis.html for the words.
#pragma once

#include <condition_variable>
#include <mutex>

#if defined(__clang__)
#define ORRERY_ANNOTATION(x) __attribute__((x))
#else
#define ORRERY_ANNOTATION(x)
#endif

#define CAPABILITY(x) ORRERY_ANNOTATION(capability(x))
#define SCOPED_CAPABILITY ORRERY_ANNOTATION(scoped_lockable)
#define GUARDED_BY(x) ORRERY_ANNOTATION(guarded_by(x))
#define PT_GUARDED_BY(x) ORRERY_ANNOTATION(pt_guarded_by(x))
#define ACQUIRED_AFTER(...) ORRERY_ANNOTATION(acquired_after(__VA_ARGS__))
#define ACQUIRED_BEFORE(...) ORRERY_ANNOTATION(acquired_before(__VA_ARGS__))
#define REQUIRES(...) ORRERY_ANNOTATION(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) ORRERY_ANNOTATION(locks_excluded(__VA_ARGS__))
#define ACQUIRE(...) ORRERY_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RELEASE(...) ORRERY_ANNOTATION(release_capability(__VA_ARGS__))
#define TRY_ACQUIRE(...) ORRERY_ANNOTATION(try_acquire_capability(__VA_ARGS__))
#define NO_THREAD_SAFETY_ANALYSIS ORRERY_ANNOTATION(no_thread_safety_analysis)

namespace orrery {

class CAPABILITY("mutex") Mutex {
  public:
    Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() ACQUIRE() { mutex.lock(); }
    void unlock() RELEASE() { mutex.unlock(); }
    bool try_lock() TRY_ACQUIRE(true) { return mutex.try_lock(); }

  private:
    std::mutex mutex;
};

class SCOPED_CAPABILITY MutexLock {
  public:
    explicit MutexLock(Mutex& mutex) ACQUIRE(mutex) : mutex(mutex) { mutex.lock(); }
    // Takes over a lock that the caller has.
    MutexLock(Mutex& mutex, std::adopt_lock_t) REQUIRES(mutex) : mutex(mutex) {}
    ~MutexLock() RELEASE() { mutex.unlock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

  private:
    Mutex& mutex;
};

// A condition to wait for with a Mutex held.
using ConditionVariable = std::condition_variable_any;

}  // namespace orrery
