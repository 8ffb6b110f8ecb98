// The ways to try for one request, in order: an entry of the proxy list gives one or several. It sends
// nothing and doesn't judge a try; a PAC file is asked when its turn comes, not before. One thread.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "contracts/wirelink.h"
#include "standins/wirelink/base/deadline.h"
#include "standins/wirelink/proxy/proxy_setting.h"

namespace orrery::wirelink {

struct Route {
    std::string proxy{};  // `scheme://host:port`; empty: direct
    ProxyValues used{};   // the entry, with that proxy alone in its list, as it stands there

    bool IsDirect() const { return proxy.empty(); }
};

// The proxy for the request by the PAC file at that URL, or of this network if it is empty; empty for a
// direct connection, none if there is no answer.
using PacQuestion = std::function<std::optional<WideString>(const WideString& pacUrl)>;

class ProxyRoutes {
  public:
    // `scheme`: of the request's URL. Entries with `fallback` come after the others.
    ProxyRoutes(const std::vector<ProxyValues>& entries, std::string scheme, PacQuestion ask);

    // None at the end. A proxy comes once for each user; where the entries give nothing, there is one direct
    // route.
    std::optional<Route> Next();

  private:
    std::optional<Route> RouteOf(ProxyValues step);
    // Asks once, as a file that gives no answer takes its time.
    const std::optional<WideString>& PacAnswer(const WideString& pacUrl);
    bool IsNew(const Route& route) const;

    const std::string scheme;
    const PacQuestion ask;
    std::map<WideString, std::optional<WideString>> pacAnswers;
    std::deque<ProxyValues> steps;  // an explicit one names one proxy
    std::vector<Route> given;
};

// The values of all entries, in their order; none for null.
std::vector<ProxyValues> EntriesOf(IProxyList* list);

// `[<url scheme>=][http[s]://]host[:port]` as `scheme://host:port`; without a port that of the scheme. Empty
// for another form, with credentials, and where the text is for URLs of another scheme.
std::string ProxyAddress(const std::string& text, const std::string& scheme);

// Asks the PAC file, as PacQuestion tells, for `url`: two waits of 15 s at most, and none beyond the
// deadline.
std::optional<WideString> AskPacFile(const std::string& url, const WideString& pacUrl,
                                     const Deadline& deadline);

}  // namespace orrery::wirelink
