#include "agent/settings/sealed_list.h"

#include "foundation/cypher/aes_cypher.h"
#include "foundation/json/message_object.h"

namespace orrery::agent {

namespace {

bool IsProxyList(const std::string& text) {
    CMessageObject document;
    const CMessageObject* entries = nullptr;
    return ToUtf8(ToWide(text)) == text && document.Parse(text) && document.GetArray(u"ProxyConfig", entries);
}

}  // namespace

bool SealList(const std::string& list, std::string& sealed, std::string& problem) {
    if (!IsProxyList(list)) {
        problem = "this is no list of proxies: {\"ProxyConfig\":[...]}";
    } else if (!CAESCypher().EncipherToText(list, sealed)) {
        problem = "the list can't be enciphered";
    }
    return problem.empty();
}

bool OpenList(const std::string& stored, std::string& list, std::string& problem) {
    std::string plain;
    const bool isSealed = CAESCypher().DecipherFromText(stored, plain);
    if (!isSealed) plain = stored;
    if (IsProxyList(plain)) {
        list = plain;
    } else {
        problem = "this is no list of proxies, or it was enciphered with another key";
    }
    return problem.empty();
}

}  // namespace orrery::agent
