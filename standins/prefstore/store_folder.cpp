#include "standins/prefstore/store_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>

#include "platform/clock.h"

namespace orrery::prefstore {

namespace {

void MakeLevels(const std::string& folder) {
    for (size_t slash = folder.find('/', 1); slash != std::string::npos; slash = folder.find('/', slash + 1))
        mkdir(folder.substr(0, slash).c_str(), 0700);
    mkdir(folder.c_str(), 0700);
}

int OpenHeld(const std::string& folder) {
    MakeLevels(folder);
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return -1;
    int result = 0;
    do {
        result = flock(descriptor, LOCK_EX);
    } while (result != 0 && errno == EINTR);
    if (result == 0) return descriptor;
    const int reason = errno;
    close(descriptor);
    errno = reason;
    return -1;
}

std::string DamagedSuffix() {
    const CalendarTime now = platform::UtcTime();
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), ".damaged-%04d%02d%02dT%02d%02d%02dZ", now.year, now.month,
                  now.day, now.hour, now.minute, now.second);
    return text.data();
}

}  // namespace

StoreFolder::StoreFolder(const std::string& folder) : descriptor(OpenHeld(folder)) {}

StoreFolder::~StoreFolder() {
    if (descriptor >= 0) close(descriptor);
}

bool StoreFolder::MakeFile(const std::string& name) const {
    // Said here, as the library only tells that it can't open the file.
    if (faccessat(descriptor, ".", W_OK, 0) != 0) return false;
    // A file that exists must not be opened here: closing it again would drop the locks that this process
    // holds on it through SQLite.
    const int file = openat(descriptor, name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file < 0) return errno == EEXIST;
    close(file);
    fsync(descriptor);
    return true;
}

bool StoreFolder::HasOrphanedLog(const std::string& name) const {
    return SizeOf(name) <= 0 && SizeOf(name + "-wal") > 0;
}

bool StoreFolder::SetAside(const std::string& name, std::string& newName) const {
    const std::string base = name + DamagedSuffix();
    newName = base;
    for (int again = 2; SizeOf(newName) >= 0 || SizeOf(newName + "-wal") >= 0; ++again)
        newName = base + "-" + std::to_string(again);
    // The file goes last: while it is there, the next start finds it damaged and comes here again.
    for (const char* part : {"-wal", "-shm", ""}) {
        const int result = renameat(descriptor, (name + part).c_str(), descriptor, (newName + part).c_str());
        if (result != 0 && errno != ENOENT) return false;
    }
    fsync(descriptor);
    return true;
}

long long StoreFolder::SizeOf(const std::string& name) const {
    struct stat status {};
    return fstatat(descriptor, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 ? status.st_size : -1;
}

}  // namespace orrery::prefstore
