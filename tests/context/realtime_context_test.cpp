#include "context/realtime_context.h"

#include "context/context_ref.h"
#include "events/dispatcher_helper.h"
#include "standins/wirelink/proxy/proxy_setting.h"
#include "support/failing_memory.h"
#include "support/fake_wirelink.h"

namespace orrery::test {
namespace {

using Events = std::vector<RecordingEventgate::Event>;

struct RealtimeContext : WirelinkTest {
    void Make() {
        context = new CRealtimeContext(&environment.tracebox, &dispatcher);
        ref = ContextRef(context);
    }

    CDispatcherHelper dispatcher;
    CRealtimeContext* context = nullptr;
    ContextRef ref;
};

TEST(ProxyUse, AnotherProxyThanTheStoredOneAsksForAConnectivityTest) {
    TestEnvironment& environment = TestEnvironment::Get();
    environment.Reset();
    CDispatcherHelper dispatcher;
    auto* const context = new CRealtimeContext(&environment.tracebox, &dispatcher);
    const ContextRef ref(context);
    const char16_t* const storedOne = uR"({"Mode":1,"ProxyList":"one:1"})";
    wirelink::ProxySetting one({.mode = ProxyExplicit, .proxyList = u"one:1"});
    wirelink::ProxySetting two({.mode = ProxyExplicit, .proxyList = u"two:2"});
    const struct {
        const char* what;
        const char16_t* stored;
        IProxySetting* used;
        bool isNews;
    } cases[] = {
        {"still none", u"", nullptr, false},         {"now one", u"", &one, true},
        {"none any more", storedOne, nullptr, true}, {"still the same", storedOne, &one, false},
        {"another", storedOne, &two, true},
    };
    for (const auto& [what, stored, used, isNews] : cases) {
        environment.config.Set(u"Proxy.Default.LastProxyConfigUsed", stored);
        environment.eventgate.Answer({31});  // changes nothing
        for (int report = 0; report < 2; ++report) {
            context->OnProxyUsed(used);
            const Events expected(isNews, {R"({"ConnectivityTest":{}})", true});
            EXPECT_EQ(environment.eventgate.Take(), expected) << what;
        }
    }
}

TEST_F(RealtimeContext, LivesAsLongAsItsLastHolder) {
    Make();
    EXPECT_EQ(context->AddRef(), 2U);
    EXPECT_EQ(context->Release(), 1U);
    ContextRef second = ref, third = std::move(second);
    ref = second;
    EXPECT_FALSE(ref || second);
    EXPECT_EQ(third.Get(), context);
    EXPECT_EQ(wire.observer, context);
    third = ContextRef();
    EXPECT_EQ(wire.observer, nullptr);
}

TEST_F(RealtimeContext, WithoutMemoryItLeavesNothingBehind) {
    FailEachAllocation([this] { Make(); },
                       [this](bool threw) {
                           EXPECT_EQ(ref.Get() == nullptr, threw);
                           ref = ContextRef();
                           EXPECT_EQ(wire.observer, nullptr);
                           EXPECT_EQ(wire.held, 0);
                           EXPECT_EQ(config.Subscriptions(), 0U);
                       });
}

TEST_F(RealtimeContext, TellsTheHostOfNoFailureToStart) {
    Make();
    FailEachAllocation([this] { EXPECT_EQ(ref->Start(), 0U); },
                       [this](bool threw) {
                           EXPECT_FALSE(threw);
                           ref->Stop();
                       });
    EXPECT_EQ(config.Subscriptions(), 2U) << "those of the polled provider";
}

TEST_F(RealtimeContext, WithoutTransportItHasNoManagersAndComesAndGoes) {
    wire.knobs.isThere = false;
    Make();
    EXPECT_EQ(context->GetRealtimeManager(), nullptr);
    EXPECT_EQ(context->GetDmpNotificationsManager(), nullptr);
    EXPECT_EQ(ref->Start(), 0U);
    ref->Stop();
    EXPECT_TRUE(environment.eventgate.Take().empty());
}

}  // namespace
}  // namespace orrery::test
