// Threads for executions, made when there is work and gone again when there has been none for a while, so
// that an idle agent has none. Jobs are started in the order in which they were posted. A job doesn't throw.
//
// Post and Drain may be called from any thread but a job's own.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <list>
#include <thread>
#include <vector>

#include "platform/mutex.h"

namespace orrery::agent {

class WorkerPool {
  public:
    explicit WorkerPool(size_t mostWorkers = 4, std::chrono::milliseconds idleTime = std::chrono::seconds(5));
    // Every job has ended by then: Drain gave true, or nothing was ever posted.
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    // False, and nothing done, after Drain, or if the system has no thread to give.
    bool Post(std::function<void()> job);
    // Takes no more jobs and waits for those there are. False if the time is over first: the jobs go on, and
    // this object must then stay.
    bool Drain(std::chrono::milliseconds limit);
    size_t WorkerCount();

  private:
    void Work();
    bool Take(std::function<void()>& job);
    bool StartWorkerLocked() REQUIRES(mutex);
    void JoinEndedLocked() REQUIRES(mutex);

    const size_t mostWorkers;
    const std::chrono::milliseconds idleTime;

    Mutex mutex;
    ConditionVariable available;  // a job, or no more to come
    ConditionVariable ended;      // a worker is at its end
    std::deque<std::function<void()>> jobs GUARDED_BY(mutex);
    std::list<std::thread> threads GUARDED_BY(mutex);
    std::vector<std::thread::id> endedThreads GUARDED_BY(mutex);
    size_t live GUARDED_BY(mutex) = 0;
    size_t waiting GUARDED_BY(mutex) = 0;  // workers without a job
    bool closed GUARDED_BY(mutex) = false;
};

}  // namespace orrery::agent
