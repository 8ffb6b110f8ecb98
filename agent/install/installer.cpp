#include "agent/install/installer.h"

#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "platform/files.h"
#include "platform/text.h"

namespace orrery::agent {

namespace fs = std::filesystem;

namespace {

constexpr std::array agentFiles = {"Realtime.so", "Eventgate.so", "Iphlpapi.so", "orrery-pac"};
constexpr std::array utilsFiles = {"Prefstore.so", "Tracebox.so", "Wirelink.so", "WirelinkLC.so"};

std::string ReadFile(const fs::path& file) {
    std::ifstream input(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(input), {}};
}

// Under another name first, so that a running agent never meets half a file.
void ReplaceFile(const fs::path& target, const std::string& bytes, fs::perms permissions) {
    const fs::path temporary = target.string() + ".new";
    std::ofstream output(temporary, std::ios::binary | std::ios::trunc);
    output << bytes;
    output.close();
    if (!output)
        throw fs::filesystem_error("can't write", temporary, std::make_error_code(std::errc::io_error));
    fs::permissions(temporary, permissions);
    fs::rename(temporary, target);
}

void FreshenFile(const fs::path& source, const fs::path& target) {
    const std::string bytes = ReadFile(source);
    if (fs::exists(target) && ReadFile(target) == bytes) return;
    ReplaceFile(target, bytes, fs::perms(0755));
}

std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char character : text) {
        if (character == '\\' || character == '"') escaped += '\\';
        escaped += character;
    }
    return escaped;
}

std::string RegistryText(const AgentHome& home) {
    const std::string path = ToUtf8(platform::WidePath(home.AgentFolder()));
    return "REGEDIT4\n\n"
           "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Zelko Security\\SetupEx\\Orrery Agent]\n"
           "\"Path\"=\"" +
           Escaped(path) +
           "\"\n"
           "\"InitialCompanyName\"=\"Zelko Security\"\n"
           "\"InitialProductName\"=\"Orrery Agent\"\n";
}

// A file that names this home already may hold more than we write, and stays.
void WriteRegistry(const AgentHome& home) {
    const std::string text = RegistryText(home);
    const size_t begin = text.find("\"Path\"");
    const std::string pathLine = text.substr(begin, text.find('\n', begin) - begin + 1);
    if (ReadFile(home.RegistryFile()).find(pathLine) != std::string::npos) return;
    ReplaceFile(home.RegistryFile(), text, fs::perms(0644));
}

void MakeFolders(const AgentHome& home) {
    fs::create_directories(home.UtilsFolder());
    const fs::path store = home.StoreFolder();
    fs::create_directories(store);
    fs::permissions(store, fs::perms::owner_all);
}

bool CheckSources(const fs::path& libraries, std::string& problem) {
    std::string missing;
    for (const auto& list : {agentFiles, utilsFiles}) {
        for (const char* name : list) {
            if (!fs::is_regular_file(libraries / name)) missing += std::string(" ") + name;
        }
    }
    if (!missing.empty()) problem = "missing in " + libraries.string() + ":" + missing;
    return missing.empty();
}

// A backslash or a line break would be another path in the registry file.
bool CheckHomePath(const std::string& folder, std::string& problem) {
    for (const char character : folder) {
        if (character == '\\' || static_cast<unsigned char>(character) < ' ') {
            problem = "a home's path holds no backslashes and no control characters";
            return false;
        }
    }
    return true;
}

}  // namespace

bool LayOutHome(const AgentHome& home, const std::string& libraries, std::string& problem) {
    if (!CheckHomePath(home.Folder(), problem) || !CheckSources(libraries, problem)) return false;
    try {
        MakeFolders(home);
        for (const char* name : agentFiles)
            FreshenFile(fs::path(libraries) / name, home.AgentFolder() + "/" + name);
        for (const char* name : utilsFiles)
            FreshenFile(fs::path(libraries) / name, home.UtilsFolder() + "/" + name);
        WriteRegistry(home);
    } catch (const fs::filesystem_error& error) {
        problem = error.what();
    }
    return problem.empty();
}

std::string LibrarySource() {
    const char* named = std::getenv("ORRERY_LIBRARIES");
    if (named && *named) return named;
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    return (program.parent_path().parent_path() / "lib").string();
}

}  // namespace orrery::agent
