#include "agent/events/worker_pool.h"

#include <algorithm>
#include <system_error>

#include "platform/clock.h"

namespace orrery::agent {

WorkerPool::WorkerPool(size_t mostWorkers, std::chrono::milliseconds idleTime)
    : mostWorkers(mostWorkers), idleTime(idleTime) {}

WorkerPool::~WorkerPool() {
    MutexLock lock(mutex);
    JoinEndedLocked();
}

bool WorkerPool::Post(const WideString& line, std::function<void()> work) {
    MutexLock lock(mutex);
    if (closed) return false;
    JoinEndedLocked();
    std::deque<Job>& jobs = lines[line].jobs;
    jobs.push_back({posted++, line, std::move(work)});
    if (waiting < StartableLocked() && live < mostWorkers && !StartWorkerLocked() && live == 0) {
        jobs.pop_back();
        return false;
    }
    available.notify_one();
    return true;
}

bool WorkerPool::Drain(std::chrono::milliseconds limit) {
    const int64_t deadline = platform::SteadyDeadline(limit);
    MutexLock lock(mutex);
    closed = true;
    available.notify_all();
    while (live > 0) {
        if (!platform::WaitUntil(ended, mutex, deadline) && live > 0) return false;
    }
    JoinEndedLocked();
    return true;
}

size_t WorkerPool::WorkerCount() {
    MutexLock lock(mutex);
    return live;
}

void WorkerPool::Work() {
    Job job;
    while (Take(job)) {
        job.work();
        job.work = nullptr;  // what it holds goes now, not with the next job
        Leave(job.line);
    }
}

// A thread that finds nothing to start may go although jobs are left: those of a full line are taken by its
// threads.
bool WorkerPool::Take(Job& job) {
    const int64_t deadline = platform::SteadyDeadline(idleTime);
    MutexLock lock(mutex);
    ++waiting;
    Line* line = NextLocked();
    for (bool late = false; !line && !closed && !late; line = NextLocked())
        late = !platform::WaitUntil(available, mutex, deadline);
    --waiting;
    if (line) {
        ++line->busy;
        job = std::move(line->jobs.front());
        line->jobs.pop_front();
        return true;
    }
    --live;
    endedThreads.push_back(std::this_thread::get_id());
    ended.notify_all();
    return false;
}

void WorkerPool::Leave(const WideString& line) {
    MutexLock lock(mutex);
    const auto found = lines.find(line);
    if (--found->second.busy == 0 && found->second.jobs.empty()) lines.erase(found);
}

WorkerPool::Line* WorkerPool::NextLocked() {
    Line* next = nullptr;
    for (auto& [name, line] : lines) {
        if (!line.CanStart()) continue;
        if (!next || line.jobs.front().number < next->jobs.front().number) next = &line;
    }
    return next;
}

// Jobs that threads could begin with now.
size_t WorkerPool::StartableLocked() const {
    size_t count = 0;
    for (const auto& [name, line] : lines) count += std::min(line.jobs.size(), mostOfLine - line.busy);
    return count;
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
