// Threads for executions, made when there is work and gone again when there has been none for a while, so
// that an idle agent has none. A job belongs to a line, which has two threads at the most, so that jobs that
// hang hold up none but their like. Of the jobs that can start, the one that was posted first does. A job
// doesn't throw.
//
// Post and Drain may be called from any thread but a job's own.
#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <thread>
#include <vector>

#include "contracts/wide_string.h"
#include "platform/mutex.h"

namespace orrery::agent {

class WorkerPool {
  public:
    explicit WorkerPool(size_t mostWorkers = 8, std::chrono::milliseconds idleTime = std::chrono::seconds(5));
    // Every job has ended by then: Drain gave true, or nothing was ever posted.
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    // False, and nothing done, after Drain, or if the system has no thread to give.
    bool Post(const WideString& line, std::function<void()> work);
    // Takes no more jobs and waits for those there are. False if the time is over first: the jobs go on, and
    // this object must then stay.
    bool Drain(std::chrono::milliseconds limit);
    size_t WorkerCount();

  private:
    struct Job {
        uint64_t number = 0;  // in the order of posting
        WideString line;
        std::function<void()> work;
    };
    struct Line {
        bool CanStart() const { return !jobs.empty() && busy < mostOfLine; }
        std::deque<Job> jobs;
        size_t busy = 0;  // threads with a job of it
    };
    static constexpr size_t mostOfLine = 2;

    void Work();
    bool Take(Job& job);
    void Leave(const WideString& line);
    Line* NextLocked() REQUIRES(mutex);
    size_t StartableLocked() const REQUIRES(mutex);
    bool StartWorkerLocked() REQUIRES(mutex);
    void JoinEndedLocked() REQUIRES(mutex);

    const size_t mostWorkers;
    const std::chrono::milliseconds idleTime;

    Mutex mutex;
    ConditionVariable available;                         // a job, or no more to come
    ConditionVariable ended;                             // a worker is at its end
    std::map<WideString, Line> lines GUARDED_BY(mutex);  // those with jobs or threads
    uint64_t posted GUARDED_BY(mutex) = 0;
    std::list<std::thread> threads GUARDED_BY(mutex);
    std::vector<std::thread::id> endedThreads GUARDED_BY(mutex);
    size_t live GUARDED_BY(mutex) = 0;
    size_t waiting GUARDED_BY(mutex) = 0;  // workers without a job
    bool closed GUARDED_BY(mutex) = false;
};

}  // namespace orrery::agent
