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

template <class Entry>
class Log {
  public:
    void Note(const Entry& what) {
        MutexLock hold(lock);
        entries.push_back(what);
    }
    // The entries since the last call; with `awaited`, once that is among them.
    std::vector<Entry> Take(const Entry& awaited) {
        Eventually([&] {
            MutexLock hold(lock);
            return std::ranges::count(entries, awaited) > 0;
        });
        return Take();
    }
    std::vector<Entry> Take() {
        MutexLock hold(lock);
        return std::exchange(entries, {});
    }

  private:
    Mutex lock;
    std::vector<Entry> entries GUARDED_BY(lock);
};

using CallLog = Log<std::string>;

}  // namespace orrery::test
