// What happened, in order, and waits for what other threads bring about. Safe from any thread.
#pragma once

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/mutex.h"

namespace orrery::test {

// False if the condition doesn't come true within 20 seconds.
template <class Condition>
bool Eventually(Condition&& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

class CallLog {
  public:
    void Note(const std::string& what) {
        MutexLock hold(lock);
        entries.push_back(what);
    }
    // The entries since the last call; with `awaited`, once that is among them.
    std::vector<std::string> Take(const std::string& awaited) {
        Eventually([&] {
            MutexLock hold(lock);
            return std::count(entries.begin(), entries.end(), awaited) > 0;
        });
        return Take();
    }
    std::vector<std::string> Take() {
        MutexLock hold(lock);
        return std::exchange(entries, {});
    }

  private:
    Mutex lock;
    std::vector<std::string> entries GUARDED_BY(lock);
};

}  // namespace orrery::test
