#include "manager/realtime_config.h"

#include <gtest/gtest.h>

#include "platform/text.h"
#include "support/fake_config_util.h"

namespace orrery::test {
namespace {

TEST(RealtimeConfigTest, ReadsNumbersAndTakesTheDefaultForWhatIsNone) {
    constexpr uint64_t most = UINT32_MAX, more = most + 1;
    struct {
        const char16_t* stored;  // for each of the numbers
        uint64_t checkInterval, maxConnectionRetries, successfulTimeAlive, retriesWait, behaviour;
    } const cases[] = {
        {u"0", 1, 0, 0, 0, 0},
        {u" +7s", 7, 7, 7, 7, 0},
        {u"1", 1, 1, 1, 1, 1},
        {u"", 15, 2, 15, 1800, 1},  // the behaviour stays as it was
        {u"many", 15, 2, 15, 1800, 1},
        {u"-7", 15, 2, 15, 1800, 1},
        {u"4294967296", 15, 2, more, more, 1},
        {u"18446744073709551616", 15, 2, 15, 1800, 1},
        {u"4294967295", most, most, most, most, 0},
    };
    FakeConfigUtil store;
    RealtimeConfig config;
    for (const auto& expected : cases) {
        SCOPED_TRACE(ToUtf8(expected.stored));
        for (const char16_t* name : {u"CheckInterval", u"MaxConnectionRetries", u"SuccesfulTimeAlive",
                                     u"RetriesWait", u"BehaviourOnLostConnection"})
            store.Set(WideString(u"Realtime.Manager.") + name, expected.stored);
        config.Read(store);
        EXPECT_EQ(config.checkInterval, expected.checkInterval);
        EXPECT_EQ(config.retry.maxConnectionRetries, expected.maxConnectionRetries);
        EXPECT_EQ(config.retry.successfulTimeAlive, expected.successfulTimeAlive);
        EXPECT_EQ(config.retry.retriesWait, expected.retriesWait);
        EXPECT_EQ(config.retry.behaviourOnLostConnection, expected.behaviour);
    }
}

TEST(RealtimeConfigTest, ReadsSwitchesAndIntervals) {
    FakeConfigUtil store;
    RealtimeConfig config;
    store.Set(u"Realtime.Notifications.Enabled", u"00");
    store.Set(u"Realtime.Notifications.CheckOS", u"0");
    store.Set(u"Realtime.Manager.CannotConnectRetriesInterval", u"any");
    config.Read(store);
    EXPECT_TRUE(config.enabled && !config.checkOs);
    EXPECT_EQ(config.retry.lostConnectionRetriesInterval, u"rand(5,15)");
    store.Clear();
    store.Set(u"Realtime.Notifications.Enabled", u"0");
    config.Read(store);
    EXPECT_TRUE(!config.enabled && config.checkOs);
    EXPECT_EQ(config.retry.cannotConnectRetriesInterval, u"any") << "not set: as it was";
    store.Set(u"Realtime.Manager.CannotConnectRetriesInterval", u"");
    config.Read(store);
    EXPECT_EQ(config.retry.cannotConnectRetriesInterval, u"rand(60,300)");
}

}  // namespace
}  // namespace orrery::test
