#include "context/realtime_context.h"

#include "context/context_ref.h"
#include "events/dispatcher_helper.h"
#include "support/test_environment.h"

namespace orrery::test {
namespace {

using RealtimeContext = EnvironmentTest;

TEST_F(RealtimeContext, AnotherProxyThanTheStoredOneAsksForAConnectivityTest) {
    CDispatcherHelper dispatcher;
    const ContextRef context(new CRealtimeContext(&environment.tracebox, &dispatcher));
    const char16_t* const storedOne = uR"({"Mode":1,"ProxyList":"one:1"})";
    wirelink::ProxySetting one({.mode = ProxyExplicit, .proxyList = u"one:1"});
    const struct {
        const char* what;
        const char16_t* stored;
        IProxySetting* used;
        size_t events;
    } cases[] = {{"now one", u"", &one, 1},
                 {"none any more", storedOne, nullptr, 1},
                 {"still the same", storedOne, &one, 0}};
    for (const auto& [what, stored, used, events] : cases) {
        config.Set(u"Proxy.Default.LastProxyConfigUsed", stored);
        environment.wirelink.observer.load()->OnProxyUsed(used);
        const std::vector<RaisedEvent> expected(events, {R"({"ConnectivityTest":{}})", true});
        EXPECT_EQ(environment.eventgate.Take(), expected) << what;
    }
}

}  // namespace
}  // namespace orrery::test
