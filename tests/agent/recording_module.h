// What the recording module lets a test see, found through its export "GetRecorder".
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

namespace orrery::test {

struct Recorder {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::string> calls;  // the host's calls, and the texts of the events in the order of starting
    bool blocked = true;             // executions of "Block" wait while it is set

    void Add(const std::string& call) {
        const std::lock_guard lock(mutex);
        calls.push_back(call);
        changed.notify_all();
    }
};

using GetRecorderFunction = Recorder* (*)();

}  // namespace orrery::test
