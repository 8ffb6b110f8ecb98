#include "platform/linux/auto_proxy/wpad_hosts.h"

#include <algorithm>
#include <sstream>

namespace orrery::platform {
namespace {

std::vector<std::string> Words(const std::string& line) {
    std::istringstream words(line);
    std::vector<std::string> found;
    for (std::string word; words >> word;) found.push_back(word);
    return found;
}

std::vector<std::string> SearchDomains(std::string_view resolvConf) {
    std::istringstream lines{std::string(resolvConf)};
    std::vector<std::string> domains;
    for (std::string line; std::getline(lines, line);) {
        std::vector<std::string> words = Words(line);
        if (words.size() < 2 || (words[0] != "search" && words[0] != "domain")) continue;
        words.erase(words.begin());
        domains = std::move(words);
    }
    return domains;
}

bool LooksLikePublicSuffix(std::string_view domain) {
    const size_t dot = domain.find('.');
    if (dot == std::string_view::npos) return true;
    const std::string_view rest = domain.substr(dot + 1);
    return rest.find('.') == std::string_view::npos && rest.size() <= 2 && dot <= 3;
}

void AddHost(std::string_view domain, std::vector<std::string>& hosts) {
    std::string host = "wpad." + std::string(domain);
    if (std::ranges::find(hosts, host) == hosts.end()) hosts.push_back(std::move(host));
}

void AddHosts(std::string_view domain, std::vector<std::string>& hosts) {
    while (domain.ends_with('.')) domain.remove_suffix(1);
    if (domain.empty()) return;
    AddHost(domain, hosts);
    for (size_t dot = domain.find('.'); dot != std::string_view::npos; dot = domain.find('.')) {
        domain.remove_prefix(dot + 1);
        if (!LooksLikePublicSuffix(domain)) AddHost(domain, hosts);
    }
}

}  // namespace

std::vector<std::string> WpadHosts(std::string_view resolvConf) {
    std::vector<std::string> hosts;
    for (const std::string& domain : SearchDomains(resolvConf)) AddHosts(domain, hosts);
    return hosts;
}

}  // namespace orrery::platform
