#include "manager/realtime_config.h"

#include <gtest/gtest.h>

#include <limits>

#include "platform/text.h"
#include "support/fake_config_util.h"

namespace orrery::test {
namespace {

RealtimeConfig Read(const char16_t* key, const char16_t* value) {
    FakeConfigUtil store;
    store.Set(key, value);
    RealtimeConfig config;
    config.Read(store);
    return config;
}

TEST(RealtimeConfigTest, ReadsNumbersAndTakesTheDefaultForWhatIsNone) {
    struct {
        const char16_t* key;
        uint64_t (*field)(const RealtimeConfig&);
        uint64_t byDefault;
        uint64_t largest;
    } const settings[] = {
        {u"Realtime.Manager.CheckInterval",
         [](const RealtimeConfig& config) -> uint64_t { return config.checkInterval; }, 15, UINT32_MAX},
        {u"Realtime.Manager.MaxConnectionRetries",
         [](const RealtimeConfig& config) -> uint64_t { return config.retry.maxConnectionRetries; }, 2,
         UINT32_MAX},
        {u"Realtime.Manager.SuccesfulTimeAlive",
         [](const RealtimeConfig& config) { return config.retry.successfulTimeAlive; }, 15, UINT64_MAX},
        {u"Realtime.Manager.RetriesWait",
         [](const RealtimeConfig& config) { return config.retry.retriesWait; }, 1800, UINT64_MAX},
    };
    for (const auto& [key, field, byDefault, largest] : settings) {
        SCOPED_TRACE(ToUtf8(key));
        EXPECT_EQ(field(Read(u"Realtime.Manager.Other", u"1")), byDefault);
        EXPECT_EQ(field(Read(key, u" +7s")), 7U);
        const WideString most = ToWide(std::to_string(largest));
        EXPECT_EQ(field(Read(key, most.c_str())), largest);
        for (const WideString& none : {WideString(), WideString(u"many"), WideString(u"-7"), most + u"0"})
            EXPECT_EQ(field(Read(key, none.c_str())), byDefault) << ToUtf8(none);
    }
    EXPECT_EQ(Read(u"Realtime.Manager.CheckInterval", u"0").checkInterval, 1U);
    EXPECT_EQ(Read(u"Realtime.Manager.MaxConnectionRetries", u"0").retry.maxConnectionRetries, 0U);
}

TEST(RealtimeConfigTest, SwitchesAreOnUnlessTheyAreZero) {
    EXPECT_FALSE(Read(u"Realtime.Notifications.Enabled", u"0").enabled);
    EXPECT_FALSE(Read(u"Realtime.Notifications.CheckOS", u"0").checkOs);
    for (const char16_t* on : {u"", u"1", u"00", u"false"}) {
        EXPECT_TRUE(Read(u"Realtime.Notifications.Enabled", on).enabled) << ToUtf8(on);
        EXPECT_TRUE(Read(u"Realtime.Notifications.CheckOS", on).checkOs) << ToUtf8(on);
    }
    FakeConfigUtil store;
    RealtimeConfig config;
    config.enabled = config.checkOs = false;
    config.Read(store);
    EXPECT_TRUE(config.enabled && config.checkOs) << "not set";
}

TEST(RealtimeConfigTest, IntervalsAndTheBehaviourStayWhereTheyCannotBeRead) {
    struct {
        const char16_t* key;
        WideString RetrySettings::*interval;
        const char16_t* byDefault;
    } const intervals[] = {
        {u"Realtime.Manager.CannotConnectRetriesInterval", &RetrySettings::cannotConnectRetriesInterval,
         u"rand(60,300)"},
        {u"Realtime.Manager.LostConnectionRetriesInterval", &RetrySettings::lostConnectionRetriesInterval,
         u"rand(5,15)"},
    };
    for (const auto& [key, interval, byDefault] : intervals) {
        FakeConfigUtil store;
        RealtimeConfig config;
        config.Read(store);
        EXPECT_EQ(config.retry.*interval, byDefault);
        store.Set(key, u"any text");
        config.Read(store);
        store.DeleteValue(key);
        config.Read(store);
        EXPECT_EQ(config.retry.*interval, u"any text");
        store.Set(key, u"");
        config.Read(store);
        EXPECT_EQ(config.retry.*interval, byDefault);
    }
    struct {
        const char16_t* value;
        uint32_t behaviour;
    } const steps[] = {{u"0", 0}, {u"1", 1}, {u"x", 1}, {u"", 1}, {u"4294967296", 1}, {u"2", 0}, {u"1", 1}};
    FakeConfigUtil store;
    RealtimeConfig config;
    for (const auto& [value, behaviour] : steps) {
        store.Set(u"Realtime.Manager.BehaviourOnLostConnection", value);
        config.Read(store);
        EXPECT_EQ(config.retry.behaviourOnLostConnection, behaviour) << ToUtf8(value);
    }
}

}  // namespace
}  // namespace orrery::test
