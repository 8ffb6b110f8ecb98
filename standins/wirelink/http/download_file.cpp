#include "standins/wirelink/http/download_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

#include "platform/error_codes.h"
#include "platform/files.h"

namespace orrery::wirelink {

DownloadFile::DownloadFile(const WideString& path) : path(platform::NativePath(path)) {}

DownloadFile::~DownloadFile() {
    file.reset();
    if (!temporaryPath.empty()) unlink(temporaryPath.c_str());
}

uint32_t DownloadFile::Write(std::string_view bytes) {
    const bool written = Open() && std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
    return written ? Success : WriteFault;
}

uint32_t DownloadFile::Commit() {
    // The bytes are on the disk before the name is, whenever the power goes.
    if (!Open() || std::fflush(file.get()) != 0 || fsync(fileno(file.get())) != 0) return WriteFault;
    if (std::rename(temporaryPath.c_str(), path.c_str()) != 0) return WriteFault;
    temporaryPath.clear();
    return Success;
}

bool DownloadFile::Open() {
    if (file) return true;
    std::string name = path + ".XXXXXX";
    const int descriptor = mkostemp(name.data(), O_CLOEXEC);
    if (descriptor < 0) return false;
    temporaryPath = std::move(name);
    file.reset(fdopen(descriptor, "wb"));
    if (!file) close(descriptor);
    return file != nullptr;
}

}  // namespace orrery::wirelink
