#include "agent/worker_pool.h"

#include <algorithm>
#include <system_error>

namespace orrery::agent {

using std::chrono::steady_clock;

WorkerPool::WorkerPool(size_t mostWorkers, std::chrono::milliseconds idleTime)
    : mostWorkers(mostWorkers), idleTime(idleTime) {}

WorkerPool::~WorkerPool() {
    MutexLock lock(mutex);
    JoinEndedLocked();
}

bool WorkerPool::Post(std::function<void()> job) {
    MutexLock lock(mutex);
    if (closed) return false;
    JoinEndedLocked();
    jobs.push_back(std::move(job));
    if (waiting < jobs.size() && live < mostWorkers && !StartWorkerLocked() && live == 0) {
        jobs.pop_back();
        return false;
    }
    available.notify_one();
    return true;
}

bool WorkerPool::Drain(std::chrono::milliseconds limit) {
    const auto deadline = steady_clock::now() + limit;
    MutexLock lock(mutex);
    closed = true;
    available.notify_all();
    while (live > 0) {
        if (ended.wait_until(mutex, deadline) == std::cv_status::timeout && live > 0) return false;
    }
    JoinEndedLocked();
    return true;
}

size_t WorkerPool::WorkerCount() {
    MutexLock lock(mutex);
    return live;
}

void WorkerPool::Work() {
    std::function<void()> job;
    while (Take(job)) {
        job();
        job = nullptr;  // what it holds goes now, not with the next job
    }
}

bool WorkerPool::Take(std::function<void()>& job) {
    const auto deadline = steady_clock::now() + idleTime;
    MutexLock lock(mutex);
    ++waiting;
    while (jobs.empty() && !closed) {
        if (available.wait_until(mutex, deadline) == std::cv_status::timeout) break;
    }
    --waiting;
    if (!jobs.empty()) {
        job = std::move(jobs.front());
        jobs.pop_front();
        return true;
    }
    --live;
    endedThreads.push_back(std::this_thread::get_id());
    ended.notify_all();
    return false;
}

bool WorkerPool::StartWorkerLocked() {
    try {
        threads.emplace_back([this] { Work(); });
    } catch (const std::system_error&) {
        return false;
    }
    ++live;
    return true;
}

// Such a thread took its last step under the lock that is held here, so the wait for it is short.
void WorkerPool::JoinEndedLocked() {
    for (const std::thread::id id : endedThreads) {
        const auto thread = std::ranges::find(threads, id, &std::thread::get_id);
        thread->join();
        threads.erase(thread);
    }
    endedThreads.clear();
}

}  // namespace orrery::agent
