// What the tests of the store share: a folder that goes with the test, and an observer that writes down what
// it hears.
#pragma once

#include <stdlib.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "contracts/config_util.h"
#include "platform/mutex.h"
#include "platform/text.h"

namespace orrery::prefstore {

class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string pattern = std::filesystem::temp_directory_path() / "prefstore-XXXXXX";
        path = mkdtemp(pattern.data());
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::filesystem::path path;
};

class Recorder final : public IConfigChangeObserver {
  public:
    using Lines = std::vector<std::string>;

    void OnConfigChange(const char16_t* section, const char16_t* group, const char16_t* name,
                        const char16_t* before, const char16_t* after) override {
        MutexLock lock(mutex);
        lines.push_back(ToUtf8(section) + "|" + ToUtf8(group) + "|" + ToUtf8(name) + ": " + ToUtf8(before) +
                        "->" + ToUtf8(after));
        added.notify_all();
    }

    // What was heard once there are `count` lines, or whatever there is after half a minute.
    Lines WaitFor(size_t count) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        MutexLock lock(mutex);
        while (lines.size() < count && added.wait_until(mutex, deadline) != std::cv_status::timeout) {
        }
        return lines;
    }

  private:
    Mutex mutex;
    ConditionVariable added;
    Lines lines GUARDED_BY(mutex);
};

// Does what the test tells it to.
class Actor final : public IConfigChangeObserver {
  public:
    explicit Actor(std::function<void()> act) : act(std::move(act)) {}
    void OnConfigChange(const char16_t*, const char16_t*, const char16_t*, const char16_t*,
                        const char16_t*) override {
        act();
    }

  private:
    const std::function<void()> act;
};

inline WideString Read(ConfigUtil& store, const WideString& key) {
    WideString value;
    return store.ReadValue(key, value, 0) == 0 ? value : u"(none)";
}

}  // namespace orrery::prefstore
