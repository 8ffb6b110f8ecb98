#include "agent/status/connection_probe.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "agent/settings/sealed_list.h"
#include "agent/settings/settings_store.h"
#include "foundation/json/message_object.h"

namespace orrery::agent {

namespace {

// The number behind the last colon of `host:port`, 0 if there is none.
uint16_t PortOf(std::string_view address) {
    uint16_t port = 0;
    const size_t colon = address.rfind(':');
    if (colon == std::string_view::npos || address.find(']', colon) != std::string_view::npos) return 0;
    std::from_chars(address.data() + colon + 1, address.data() + address.size(), port);
    return port;
}

void AddProxyPorts(const CMessageObject& entry, WideView key, std::set<uint16_t>& ports) {
    WideString list;
    entry.GetString(key, list);
    std::istringstream proxies(ToUtf8(list));
    for (std::string proxy; std::getline(proxies, proxy, ';');) ports.insert(PortOf(proxy));
}

void AddConfiguredProxies(const WideString& text, std::set<uint16_t>& ports) {
    CMessageObject document;
    const CMessageObject* entries = nullptr;
    std::string list;
    std::string problem;
    if (!OpenList(ToUtf8(text), list, problem) || !document.Parse(list)) return;
    if (!document.GetArray(u"ProxyConfig", entries)) return;
    for (const CMessageItem& item : entries->items) {
        if (item.kind == KindObject) AddProxyPorts(*item.value.object, u"proxyList", ports);
    }
}

// Sockets of this process, by the names that its open files bear ("socket:[12345]").
std::set<uint64_t> OwnSockets() {
    std::set<uint64_t> sockets;
    std::error_code error;
    for (const auto& file : std::filesystem::directory_iterator("/proc/self/fd", error)) {
        const std::string name = std::filesystem::read_symlink(file, error).string();
        uint64_t number = 0;
        if (name.starts_with("socket:[")) {
            std::from_chars(name.data() + 8, name.data() + name.size(), number);
            sockets.insert(number);
        }
    }
    return sockets;
}

// One line of the table: "sl local remote state queues timer retransmits uid time-out socket ...".
void ReadTableLine(const std::string& line, const std::set<uint16_t>& ports, std::set<uint64_t>& sockets) {
    std::istringstream fields(line);
    std::string number, local, remote, state, queues, timer, retransmits, user, timeout;
    uint64_t socket = 0;
    fields >> number >> local >> remote >> state >> queues >> timer >> retransmits >> user >> timeout >>
        socket;
    const size_t colon = remote.find(':');
    if (!fields || state != "01" || colon == std::string::npos) return;
    uint16_t port = 0;
    std::from_chars(remote.data() + colon + 1, remote.data() + remote.size(), port, 16);
    if (ports.contains(port)) sockets.insert(socket);
}

std::set<uint64_t> EstablishedTo(const std::set<uint16_t>& ports) {
    std::set<uint64_t> established;
    for (const char* table : {"/proc/self/net/tcp", "/proc/self/net/tcp6"}) {
        std::ifstream file(table);
        for (std::string line; std::getline(file, line);) ReadTableLine(line, ports, established);
    }
    const std::set<uint64_t> own = OwnSockets();
    std::erase_if(established, [&](uint64_t socket) { return !own.contains(socket); });
    return established;
}

}  // namespace

std::set<uint16_t> ChannelPorts(ConfigUtil& store) {
    std::set<uint16_t> ports;
    const std::string server = ToUtf8(ReadSetting(store, u"Communications.Method_CommandHub.Hostname"));
    const bool secure = ReadSetting(store, u"Communications.Method_CommandHub.Scheme") == u"wss";
    const uint16_t port = PortOf(server);
    ports.insert(port != 0 ? port : static_cast<uint16_t>(secure ? 443 : 80));

    CMessageObject lastUsed;
    AddConfiguredProxies(ReadSetting(store, u"Proxy.Default.FallbackList"), ports);
    if (lastUsed.Parse(ReadSetting(store, u"Proxy.Default.LastProxyConfigUsed"))) {
        AddProxyPorts(lastUsed, u"ProxyList", ports);
    }
    ports.erase(0);
    return ports;
}

void ConnectionProbe::NoteConnect() {
    std::set<uint64_t> sockets = EstablishedTo(ChannelPorts(store));
    MutexLock hold(lock);
    noted = std::move(sockets);
}

std::optional<bool> ConnectionProbe::IsUp() {
    const std::set<uint64_t> own = EstablishedTo(ChannelPorts(store));
    MutexLock hold(lock);
    if (noted.empty()) return std::nullopt;
    return std::ranges::any_of(noted, [&](uint64_t socket) { return own.contains(socket); });
}

}  // namespace orrery::agent
