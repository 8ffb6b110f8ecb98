#include "agent/installer.h"

#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "agent/settings_store.h"
#include "platform/error_codes.h"
#include "platform/files.h"
#include "platform/guid.h"
#include "platform/text.h"

namespace orrery::agent {

namespace fs = std::filesystem;

namespace {

constexpr std::array agentFiles = {"Realtime.so", "Eventgate.so", "Iphlpapi.so", "orrery-pac"};
constexpr std::array utilsFiles = {"Prefstore.so", "Tracebox.so", "Wirelink.so", "WirelinkLC.so"};

constexpr char16_t deviceKey[] = u"Register.Register.DeviceId";
constexpr char16_t siteKey[] = u"Register.Register.SiteId";
constexpr char16_t notificationKey[] = u"Register.Notification.NotificationId";

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

// Writes settings and remembers whether all of it went well.
class Writer {
  public:
    explicit Writer(ConfigUtil& util) : store(util) {}

    bool Failed() const { return result != Success; }
    uint32_t Result() const { return result; }
    bool IsSet(const WideString& key) const { return !ReadSetting(store, key).empty(); }

    // A value that is there already isn't written again.
    void Put(const WideString& key, const WideString& value) {
        if (!Failed() && ReadSetting(store, key) != value) result = store.WriteValue(key, value, 0);
    }
    void PutIfUnset(const WideString& key, const WideString& value) {
        if (!IsSet(key)) Put(key, value);
    }
    void PutNewGuidIfUnset(const WideString& key) {
        WideString guid;
        if (IsSet(key) || Failed()) return;
        if (!platform::NewGuid(guid)) result = NotEnoughMemory;
        Put(key, guid);
    }

  private:
    ConfigUtil& store;
    uint32_t result = Success;
};

void PutFirstSettings(Writer& writer) {
    writer.PutIfUnset(u"Realtime.Notifications.Enabled", u"1");
    writer.PutIfUnset(u"Realtime.Client.ValidateCertificates", u"1");
    writer.PutIfUnset(u"Events.Defaults.AllowExecutionsAfter", u"3600");
}

void PutServer(const ServerUrl& server, Writer& writer) {
    writer.Put(u"Communications.Method_CommandHub.Scheme", ToWide(server.scheme));
    writer.Put(u"Communications.Method_CommandHub.Hostname", ToWide(server.hostname));
    writer.Put(u"Communications.Method_CommandHub.Path", ToWide(server.path));
}

bool ReadId(const std::optional<std::string>& text, const char* what, std::optional<WideString>& id,
            std::string& problem) {
    if (!text) return true;
    id = ToWide(*text);
    if (text->find_first_not_of(" \t\r\n") == std::string::npos)
        problem = std::string("the ") + what + " id is empty";
    return problem.empty();
}

}  // namespace

bool PlanInstall(const InstallOptions& options, InstallPlan& plan, std::string& problem) {
    if (options.server) {
        ServerUrl url;
        if (!ParseServerUrl(*options.server, url, problem)) return false;
        plan.server = url;
    }
    return ReadId(options.device, "device", plan.device, problem) &&
           ReadId(options.site, "site", plan.site, problem);
}

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

bool ApplyPlan(const InstallPlan& plan, ConfigUtil& store, std::string& problem) {
    Writer writer(store);
    const bool first = !writer.IsSet(deviceKey) && !writer.IsSet(notificationKey);
    if (first) PutFirstSettings(writer);
    if (plan.server) PutServer(*plan.server, writer);
    if (plan.site) writer.Put(siteKey, *plan.site);
    if (plan.device) writer.Put(deviceKey, *plan.device);
    if (first) writer.PutNewGuidIfUnset(deviceKey);
    if (plan.device || first) writer.PutNewGuidIfUnset(notificationKey);
    if (writer.Failed()) problem = "can't write the settings (error " + std::to_string(writer.Result()) + ")";
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
