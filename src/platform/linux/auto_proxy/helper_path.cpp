#include "platform/linux/auto_proxy/helper_path.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

namespace orrery::platform {
namespace {

constexpr char helperName[] = "orrery-pac";

// The loader knows a program by what its caller named it, which need not be a path.
std::filesystem::path OwnFile() {
    Dl_info info{};
    const bool known = dladdr(reinterpret_cast<void*>(&FindPacHelper), &info) != 0 && info.dli_fname;
    const std::filesystem::path named = known ? info.dli_fname : "";
    std::error_code ignored;
    if (named.has_parent_path()) return std::filesystem::canonical(named, ignored);
    return std::filesystem::read_symlink("/proc/self/exe", ignored);
}

bool IsProgram(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::is_regular_file(path, ignored) && access(path.c_str(), X_OK) == 0;
}

}  // namespace

std::string FindPacHelper() {
    if (const char* chosen = std::getenv("ORRERY_PAC_HELPER"); chosen && *chosen) {
        return IsProgram(chosen) ? chosen : "";
    }
    const std::filesystem::path folder = OwnFile().parent_path();
    if (folder.empty()) return {};
    for (const auto& place : {folder, folder.parent_path(), folder.parent_path() / "lib"}) {
        if (IsProgram(place / helperName)) return place / helperName;
    }
    return {};
}

}  // namespace orrery::platform
