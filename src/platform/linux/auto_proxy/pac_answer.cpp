#include "platform/linux/auto_proxy/pac_answer.h"

#include <algorithm>

namespace orrery::platform {
namespace {

constexpr std::string_view space = " \t\r\n\f\v";

enum class EntryKind { Unknown, Direct, Proxy, SecureProxy, Socks };

std::string_view Trim(std::string_view text) {
    const size_t first = text.find_first_not_of(space);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(space) - first + 1);
}

// Cuts `text` at the first of `separators`: gives what stands before it and leaves what stands behind it.
std::string_view TakeUntil(std::string_view& text, std::string_view separators) {
    const std::string_view head = text.substr(0, text.find_first_of(separators));
    text.remove_prefix(std::min(head.size() + 1, text.size()));
    return head;
}

std::string UpperCase(std::string_view text) {
    std::string upper(text);
    for (char& c : upper) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    return upper;
}

EntryKind KindOf(const std::string& keyword) {
    if (keyword == "DIRECT") return EntryKind::Direct;
    if (keyword == "PROXY" || keyword == "HTTP") return EntryKind::Proxy;
    if (keyword == "HTTPS") return EntryKind::SecureProxy;
    if (keyword == "SOCKS" || keyword == "SOCKS4" || keyword == "SOCKS5") return EntryKind::Socks;
    return EntryKind::Unknown;
}

bool IsAddress(std::string_view text) {
    return !text.empty() && std::ranges::all_of(text, [](char c) { return c > ' ' && c < '\x7f'; });
}

// A direct connection has no address, every other kind has one.
EntryKind ReadEntry(std::string_view entry, std::string_view& address) {
    address = Trim(entry);
    const EntryKind kind = KindOf(UpperCase(TakeUntil(address, space)));
    address = Trim(address);
    const bool wellFormed = kind == EntryKind::Direct ? address.empty() : IsAddress(address);
    return wellFormed ? kind : EntryKind::Unknown;
}

}  // namespace

bool ReadPacAnswer(std::string_view answer, std::string& proxy) {
    bool onlySocks = false;
    while (!answer.empty()) {
        std::string_view address;
        switch (ReadEntry(TakeUntil(answer, ";"), address)) {
            case EntryKind::Direct:
                proxy.clear();
                return true;
            case EntryKind::Proxy:
                proxy = address;
                return true;
            case EntryKind::SecureProxy:
                proxy = "https://" + std::string(address);
                return true;
            case EntryKind::Socks:
                onlySocks = true;
                break;
            case EntryKind::Unknown:
                break;
        }
    }
    if (onlySocks) proxy.clear();
    return onlySocks;
}

}  // namespace orrery::platform
