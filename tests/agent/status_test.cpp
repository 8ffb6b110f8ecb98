// What the agent tells of itself: what the events say of the channel, whether its connection is there, the
// report.
#include <gmock/gmock.h>

#include <boost/asio/ip/tcp.hpp>
#include <nlohmann/json.hpp>

#include "agent/status/channel_view.h"
#include "agent/status/connection_probe.h"
#include "agent/status/status_report.h"
#include "agent/status/status_text.h"
#include "platform/text.h"
#include "support/call_log.h"
#include "support/fake_config_util.h"

namespace orrery::agent {
namespace {

using boost::asio::ip::tcp;
using testing::HasSubstr;
using testing::Not;

using Span = std::optional<std::pair<int64_t, int64_t>>;  // milliseconds

// What happens, one letter each, a second apart from second 1 on:
//   B the manager's bind    T its connectivity test    C its check of commands    P a push
//   t a connectivity test raised by others    + - someone looks: the connection is there, is gone
//   [ ] a clear begins, ends
struct Case {
    const char* name;
    std::string events;
    std::optional<bool> up;
    int64_t at;  // seconds
    ChannelState state;
    RetryState retries;
    Span loss = {}, next = {};
};

void Play(ChannelHistory& history, char event, int64_t now) {
    if (event == 'B') history.OnRaised(u"DeviceBind", u"", false, now);
    if (event == 'T' || event == 't') history.OnRaised(u"ConnectivityTest", u"", event == 't', now);
    if (event == 'C') history.OnRaised(u"CheckCommands", u"", false, now);
    if (event == 'P') history.OnRaised(u"Any", u"RealTime", false, now);
    if (event == '+' || event == '-') history.OnLookedAt(event == '+', now);
    if (event == '[') history.OnExecuting(u"RealtimeClear");
    if (event == ']') history.OnExecuted(u"RealtimeClear", 0);
}

TEST(ChannelView, SaysWhatTheEventsTellAndNoMore) {
    using enum ChannelState;
    constexpr RetryState None = RetryState::None;
    constexpr RetryState AtMaximum = RetryState::AtMaximum;
    constexpr RetryState Open = RetryState::Unknown;
    constexpr std::nullopt_t no = std::nullopt;
    const Case cases[] = {
        {"first attempts used up", "B", no, 9, Connecting, AtMaximum, no, {{1801'000, 1816'000}}},
        {"connected long enough", "BT", true, 40, Connected, None},
        {"a test raised by others is no connect", "t", no, 9, Connecting, Open},
        {"found lost twice is one loss", "BTPP--", false, 9, Lost, Open, {{4000, 5000}}},
        {"lost, and no retries", "BT-B", false, 9, Lost, AtMaximum, {{2000, 3000}}, {{1804'000, 1819'000}}},
        {"back after a loss that nobody saw", "BT+BTC", true, 9, Connected, Open, {{3000, 5000}}},
        {"a rebuilt channel was not lost", "BT[B]BT", true, 9, Connected, Open},
        {"the bind of a clear says nothing of retries", "BT[B]", false, 9, Lost, Open},
    };
    for (const Case& item : cases) {
        SCOPED_TRACE(item.name);
        ChannelHistory history(nullptr);
        int64_t second = 0;
        for (const char event : item.events) Play(history, event, ++second * 1000);
        ChannelFacts facts;
        facts.up = item.up;
        facts.notes = history.Notes();
        const ChannelView view = ViewChannel(facts, item.at * 1000);
        EXPECT_EQ(view.state, item.state);
        EXPECT_EQ(view.retries, item.retries);
        EXPECT_EQ(view.lastLoss, item.loss);
        EXPECT_EQ(view.nextAttempt, item.next);
    }
}

TEST(ConnectionProbe, SeesWhetherTheConnectionOfTheConnectIsStillThere) {
    boost::asio::io_context context;
    for (const char* loopback : {"127.0.0.1", "::1"}) {
        tcp::acceptor server(context, {boost::asio::ip::make_address(loopback), 0});
        test::FakeConfigUtil store;
        store.Set(u"Communications.Method_CommandHub.Hostname",
                  u"hub:" + ToWide(std::to_string(server.local_endpoint().port())));
        ConnectionProbe probe(store);
        tcp::socket channel(context), other(context);
        channel.connect(server.local_endpoint());
        EXPECT_EQ(probe.IsUp(), std::nullopt) << "no connect was noted";
        probe.NoteConnect();
        other.connect(server.local_endpoint());
        EXPECT_EQ(probe.IsUp(), true);
        server.accept().close();
        EXPECT_TRUE(test::Eventually([&] { return probe.IsUp() == false; })) << "the other doesn't count";
    }
}

TEST(StatusReport, SaysProxyAndProviderAndNoSecrets) {
    struct Case {
        WideString used, list, bind;
        const char* proxy;
        const char* provider;
    };
    const WideString deep = u"{\"NotificationProvider\":" + WideString(500'000, u'[');
    const Case cases[] = {
        {u"", u"", deep + WideString(500'000, u']') + u"}", R"({"configured":0})", "none"},
        {uR"({"Mode":1,"ProxyList":"http://me:hidden@p:1;q:2","Password":"hidden"})", u"",
         uR"({"NotificationProvider":6})", R"({"used":"http://p:1;q:2"})", "CommandHub"},
        {uR"({"Mode":2,"WPADUrl":"http://me:hidden@w/p.pac?password=veiled"})", u"",
         uR"({"NotificationProvider":2})",
         R"-({"used":"auto-configuration http://w/p.pac?password=(hidden)"})-", "DMP"},
        {u"", u"1s7EIQ1fYFQXGOQGZOHsaVkd8MsSQUdCt9v6s8rP6N8R4qzkO5I2IVhNzcf7n/lB", u"", R"({"configured":1})",
         "none"},
    };
    for (const Case& item : cases) {
        const SettingsMap settings{{u"Proxy.Default.LastProxyConfigUsed", item.used},
                                   {u"Proxy.Default.FallbackList", item.list},
                                   {u"Realtime.DeviceBind.LastInfoSent", item.bind},
                                   {u"Communications.Authorization.Secret", u"hidden"},
                                   {u"Register.Register.Password", u"hidden"}};
        const nlohmann::ordered_json report = StatusReport(settings, std::nullopt, 0);
        EXPECT_EQ(report["proxy"].dump(), item.proxy);
        EXPECT_EQ(report["provider"], item.provider);
        for (const char* secret : {"hidden@", "\"hidden", "veiled"})
            EXPECT_THAT(report.dump(), Not(HasSubstr(secret)));
    }
}

constexpr int64_t now = 1'767'225'600'000;  // 2026-01-01T00:00:00Z

// One that runs, has lost its server and waits.
const SettingsMap settings{
    {u"Communications.Method_CommandHub.Hostname", u"hub:1"},
    {u"Communications.Method_CommandHub.Path", u"/p"},
    {u"Communications.Method_CommandHub.Scheme", u"ws"},
    {u"Events.Defaults.AllowExecutionsAfter", u"60"},
    {u"Events.Defaults.MaxErrors", u"2"},
    {u"Events.E.ErrorCount", u"3"},
    {u"Events.E.LastErrorTime", u"1767225541"},
    {u"Realtime.Manager.CheckInterval", u"10"},
    {u"Realtime.Manager.RetriesWait", u"100"},
    {u"Register.Register.DeviceId", u"d"},
    {u"Register.Register.SiteId", u"s\n"},
    {u"Scheduler.Tasks.NotificationCheck",
     uR"({"ScheduleId":"p","NextTime":"2026-01-01T00:01:00Z","ScheduleInfo":{"Every":60},"Actions":{"P":{}}})"},
    {u"Scheduler.Tasks.t",
     uR"({"ScheduleId":"t","NextTime":"2026-01-02T00:00:00Z","Enabled":false,"ScheduleInfo":{},"Actions":{"A":{},"B":{}}})"},
};
const AgentObservation observation{.processId = 5,
                                   .startedAt = now - 60'000,
                                   .up = false,
                                   .notes = {.lastConnect = now - 30'000,
                                             .lastUp = now - 20'000,
                                             .retriesUsedUp = now - 5000,
                                             .lossAfter = now - 20'000,
                                             .lossBefore = now - 10'000,
                                             .switchedOff = false}};

TEST(StatusReport, TellsAPersonWhatIsKnown) {
    AgentObservation told;
    ASSERT_TRUE(ReadObservation(ObservationText(observation), told));
    const std::string text = StatusText(StatusReport(settings, told, now));
    for (const char* line : {
             "agent         running, process 5, since 2025-12-31T23:59:00.000Z\n",
             "site          s\\x0A\n",
             "channel       lost\n",
             "last loss     between 2025-12-31T23:59:40.000Z and 2025-12-31T23:59:50.000Z\n",
             "next attempt  between 2026-01-01T00:01:35.000Z and 2026-01-01T00:01:45.000Z\n",
             "retries       at maximum\n",
             "polls         next 2026-01-01T00:01:00.000Z, every 60 s\n",
             "  t: next 2026-01-02T00:00:00.000Z, disabled A B\n",
             "  E: 3 errors of 2, until 2026-01-01T00:00:01.000Z\n",
         })
        EXPECT_THAT(text, HasSubstr(line));
}

}  // namespace
}  // namespace orrery::agent
