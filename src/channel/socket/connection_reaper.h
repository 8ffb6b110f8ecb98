// Does what a connection needs at its end and what may take the network's time, each piece on a thread of its
// own: it may wait there, and neither a caller nor a thread of the library waits for it. It knows nothing of
// connections. Its threads exist only while there is something to do; the last ones are waited for when the
// process ends, and work that comes still later is left undone. Safe from any thread, its own included.
#pragma once

#include <deque>
#include <functional>
#include <list>
#include <thread>

#include "platform/mutex.h"

namespace orrery {

class ConnectionReaper {
  public:
    using Work = std::function<void()>;

    ConnectionReaper() = default;
    ~ConnectionReaper() { End(); }
    ConnectionReaper(const ConnectionReaper&) = delete;
    ConnectionReaper& operator=(const ConnectionReaper&) = delete;

    // False if no thread could be made: the work is kept for the next one.
    bool Give(Work work) EXCLUDES(lock);
    // Waits for all work. What is given from then on is kept and never done: it would wait for a library that
    // is ending as well.
    void End() EXCLUDES(lock);

  private:
    using Threads = std::list<std::thread>;

    bool StartThreadLocked() REQUIRES(lock);
    void Run(Threads::iterator self) EXCLUDES(lock);
    // False once there is none: the thread then counts as finished.
    bool TakeWork(Threads::iterator self, Work& work) EXCLUDES(lock);

    Mutex lock;  // a leaf
    ConditionVariable threadFinished;
    std::deque<Work> waiting GUARDED_BY(lock);
    Threads running GUARDED_BY(lock);
    Threads finished GUARDED_BY(lock);  // to be joined
    bool ended GUARDED_BY(lock) = false;
};

}  // namespace orrery
