#include "platform/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "platform/text.h"

namespace orrery::platform {

namespace {

bool WriteAll(int descriptor, const std::string& bytes) {
    size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t count = ::write(descriptor, bytes.data() + written, bytes.size() - written);
        if (count >= 0) {
            written += static_cast<size_t>(count);
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

bool WriteWith(int flags, const WideString& path, const std::string& bytes) {
    constexpr mode_t ownerOnly = 0600;
    const int descriptor = ::open(NativePath(path).c_str(), O_WRONLY | O_CLOEXEC | flags, ownerOnly);
    if (descriptor < 0) return false;
    const bool written = WriteAll(descriptor, bytes);
    return ::close(descriptor) == 0 && written;
}

}  // namespace

std::string NativePath(const WideString& path) {
    std::string native = ToUtf8(path);
    std::replace(native.begin(), native.end(), '\\', '/');
    return native;
}

WideString WidePath(const std::string& nativePath) {
    WideString path = ToWide(nativePath);
    std::replace(path.begin(), path.end(), u'/', u'\\');
    return path;
}

bool CommonDataFolder(WideString& path) {
    const char* configured = std::getenv("ORRERY_DATA");
    WideString folder = WidePath(configured && *configured ? configured : "/var/lib");
    if (!folder.ends_with(u'\\')) folder += u'\\';
    path = std::move(folder);
    return true;
}

bool PathExists(const WideString& path) {
    struct stat status {};
    return ::stat(NativePath(path).c_str(), &status) == 0;
}

bool CreateFolder(const WideString& path) {
    constexpr mode_t ownerOnly = 0700;
    return ::mkdir(NativePath(path).c_str(), ownerOnly) == 0;
}

bool WriteNewFile(const WideString& path, const std::string& bytes) {
    return WriteWith(O_CREAT | O_TRUNC, path, bytes);
}

bool AppendToFile(const WideString& path, const std::string& bytes) {
    return WriteWith(O_APPEND, path, bytes);
}

}  // namespace orrery::platform
