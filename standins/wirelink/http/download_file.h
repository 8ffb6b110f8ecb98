// The file that a download goes to: written beside it under a name of its own and put in its place when it is
// whole, so that a download that fails leaves an earlier file alone. It knows no network. One thread.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "contracts/wide_string.h"

namespace orrery::wirelink {

class DownloadFile {
  public:
    explicit DownloadFile(const WideString& path);
    ~DownloadFile();  // what isn't committed goes
    DownloadFile(const DownloadFile&) = delete;
    DownloadFile& operator=(const DownloadFile&) = delete;

    // 0 or WriteFault. Without a Write before it, Commit makes an empty file. Mode 0600.
    uint32_t Write(std::string_view bytes);
    uint32_t Commit();

  private:
    bool Open();

    struct Closer {
        void operator()(std::FILE* open) const { std::fclose(open); }
    };

    const std::string path;
    std::string temporaryPath;  // empty if there is no such file
    std::unique_ptr<std::FILE, Closer> file;
};

}  // namespace orrery::wirelink
