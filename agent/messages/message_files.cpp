#include "agent/messages/message_files.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <tuple>

#include "foundation/system/install_paths.h"
#include "platform/files.h"

namespace orrery::agent {

namespace fs = std::filesystem;

namespace {

constexpr int64_t longestLife = 7 * 86'400'000;  // milliseconds

struct FoundFile {
    fs::path path;
    int64_t time = 0;  // of its last change, milliseconds UTC
};

int64_t UtcMilliseconds(fs::file_time_type time) {
    using namespace std::chrono;
    return duration_cast<milliseconds>(file_clock::to_sys(time).time_since_epoch()).count();
}

std::vector<FoundFile> FindFiles(const std::string& folder) {
    std::vector<FoundFile> found;
    std::error_code error;
    for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
        std::error_code gone;  // a file may go while we look
        if (at->path().extension() != ".log" || !fs::is_regular_file(at->symlink_status(gone))) continue;
        const fs::file_time_type time = at->last_write_time(gone);
        if (!gone) found.push_back({at->path(), UtcMilliseconds(time)});
    }
    return found;
}

}  // namespace

std::string MessagesFolder() {
    WideString folder;
    return GetMessagesFolder(folder) ? platform::NativePath(folder) : std::string();
}

std::vector<MessageFile> ListMessageFiles(const std::string& folder) {
    std::vector<MessageFile> files;
    for (const FoundFile& file : FindFiles(folder)) {
        std::error_code gone;
        const uint64_t size = fs::file_size(file.path, gone);
        if (!gone) files.push_back({file.path.filename().string(), file.time, size});
    }
    std::ranges::sort(files, {}, [](const MessageFile& file) { return std::tie(file.time, file.name); });
    return files;
}

void RemoveOldMessages(const std::string& folder, int64_t now) {
    for (const FoundFile& file : FindFiles(folder)) {
        std::error_code error;
        if (now - file.time > longestLife) fs::remove(file.path, error);
    }
}

}  // namespace orrery::agent
