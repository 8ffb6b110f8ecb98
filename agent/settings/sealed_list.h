// The text of Proxy.Default.FallbackList, a list of proxies that may be enciphered. No state; safe from any
// thread.
#pragma once

#include <string>

namespace orrery::agent {

// False, and `problem` says why, for what is no list of proxies: {"ProxyConfig":[...]} in UTF-8.
bool SealList(const std::string& list, std::string& sealed, std::string& problem);
// A list that isn't enciphered is given as it is.
bool OpenList(const std::string& stored, std::string& list, std::string& problem);

}  // namespace orrery::agent
