#include "channel/socket/connection_reaper.h"

#include <iterator>
#include <system_error>
#include <utility>

#include "foundation/trace.h"

namespace orrery {

void ConnectionReaper::End() {
    MutexLock hold(lock);
    while (!running.empty()) threadFinished.wait(lock);
    ended = true;
    for (std::thread& thread : finished) thread.join();
    finished.clear();
}

bool ConnectionReaper::Give(Work work) {
    Threads left;
    bool started = false;
    {
        MutexLock hold(lock);
        waiting.push_back(std::move(work));
        if (ended) return true;
        left.swap(finished);
        started = StartThreadLocked();
    }
    for (std::thread& thread : left) thread.join();
    return started;
}

bool ConnectionReaper::StartThreadLocked() {
    const auto self = running.emplace(running.end());
    try {
        *self = std::thread([this, self] { Run(self); });
        return true;
    } catch (const std::system_error& failure) {
        running.erase(self);
        Trace::Error("no thread for the end of a connection", failure.what());
        return false;
    }
}

void ConnectionReaper::Run(Threads::iterator self) {
    const Trace::Scope trace("ConnectionReaper::Run");
    Work work;
    while (TakeWork(self, work)) work();
}

bool ConnectionReaper::TakeWork(Threads::iterator self, Work& work) {
    work = nullptr;  // what it held may give work in turn, so not under the lock
    MutexLock hold(lock);
    if (waiting.empty()) {
        finished.splice(finished.end(), running, self);
        threadFinished.notify_all();
        return false;
    }
    work = std::move(waiting.front());
    waiting.pop_front();
    return true;
}

}  // namespace orrery
