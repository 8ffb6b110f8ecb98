// What every settings store promises: run over the real one and over the fake that other tests use.
#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "standins/prefstore/store.h"
#include "standins/prefstore/store_fixture.h"
#include "support/fake_config_util.h"

namespace orrery::prefstore {
namespace {

class ConfigUtilContract : public testing::TestWithParam<const char*> {
  protected:
    std::unique_ptr<ConfigUtil> Make() {
        if (GetParam() == std::string("Fake")) return std::make_unique<test::FakeConfigUtil>();
        return std::make_unique<Store>(folder.path);
    }

    TemporaryFolder folder;
    const std::unique_ptr<ConfigUtil> owned = Make();
    ConfigUtil& store = *owned;
};

INSTANTIATE_TEST_SUITE_P(, ConfigUtilContract, testing::Values("Real", "Fake"),
                         [](const auto& made) { return std::string(made.param); });

TEST_P(ConfigUtilContract, ValueComesBackAsItWasWritten) {
    const WideString byteOrderMark = u"\uFEFFtext", loneSurrogate = {u'a', 0xD800, u'b'};
    for (const WideString& value :
         {WideString(), byteOrderMark, loneSurrogate, WideString(3'000'000, u'\u00fc')}) {
        ASSERT_EQ(store.WriteValue(u"Realtime.Manager.{a b}.c", value, 0), 0u);
        EXPECT_TRUE(Read(store, u"realtime.MANAGER.{a b}.c") == value) << value.size();
    }
    const WideString* value = nullptr;
    ASSERT_EQ(store.WriteValueParts(u"A", u"B", u"C", u"first", 0), 0u);
    ASSERT_EQ(store.GetValue(u"A.B.C", &value, 0), 0u);
    EXPECT_EQ(store.DeleteValue(u"A.B.C"), 0u);
    EXPECT_EQ(*value, u"first");
    store.ReleaseValue(&value);
    store.ReleaseValue(&value);
    store.ReleaseValue(nullptr);
    EXPECT_EQ(store.GetValue(u"A.B.C", &value, 0), NotFound);
    EXPECT_EQ(value, nullptr);
}

TEST_P(ConfigUtilContract, PartsAreReadIntoABufferThatFits) {
    store.WriteValue(u"A.B.C", u"four", 0);
    for (const uint32_t capacity : {256u, 5u, 4u, 0u}) {
        SCOPED_TRACE(capacity);
        char16_t buffer[256] = u"-";
        uint32_t size = capacity;
        EXPECT_EQ(store.ReadValueParts(u"A", u"B", u"C", buffer, &size, 0),
                  capacity > 4 ? Success : NotEnoughMemory);
        EXPECT_EQ(size, 4u);
        EXPECT_EQ(WideString(buffer), capacity > 4 ? u"four" : u"-");
    }
}

TEST_P(ConfigUtilContract, MalformedKeysAndTextsAreRefused) {
    for (const char16_t* key : {u"", u"A", u"A.B", u"A.B.", u"A..C", u".B.C"}) {
        SCOPED_TRACE(ToUtf8(key));
        WideString value = u"-";
        EXPECT_EQ(store.ReadValue(key, value, 0), InvalidParameter);
        EXPECT_EQ(store.WriteValue(key, u"x", 0), InvalidParameter);
        EXPECT_EQ(store.DeleteValue(key), InvalidParameter);
        EXPECT_EQ(value, u"-");
    }
    EXPECT_EQ(store.WriteValue(u"A.B.C", WideString(1, u'\0'), 0), InvalidParameter);
    EXPECT_EQ(store.WriteValueParts(u"A", nullptr, u"C", u"x", 0), InvalidParameter);
}

TEST_P(ConfigUtilContract, ObserverHearsEveryChangeOfItsSections) {
    Recorder recorder;
    store.WriteValue(u"Realtime.Manager.Wait", u"0", 0);
    for (const char16_t* section : {u"REALTIME", u"Proxy", u"realtime"}) store.Subscribe(section, &recorder);

    store.WriteValue(u"realtime.manager.wait", u"1", 0);
    store.WriteValue(u"Realtime.Manager.Wait", u"1", 0);
    store.WriteValue(u"Register.Register.DeviceId", u"unheard", 0);
    store.WriteValue(u"Proxy.Default.a.b", u"2", 0);
    store.DeleteValue(u"Realtime.Manager.Wait");
    store.DeleteValue(u"Realtime.Manager.Wait");
    store.WriteValue(u"realtime.manager.wait", u"3", 0);

    const Recorder::Lines expected = {"Realtime|Manager|Wait: 0->1", "Realtime|Manager|Wait: 1->1",
                                      "Proxy|Default|a.b: ->2", "Realtime|Manager|Wait: 1->",
                                      "realtime|manager|wait: ->3"};
    EXPECT_EQ(recorder.WaitFor(5), expected);
    EXPECT_EQ(store.Unsubscribe(u"Realtime", &recorder), 0u);
    EXPECT_EQ(store.Unsubscribe(u"Realtime", &recorder), NotFound);
    store.Unsubscribe(u"Proxy", &recorder);
}

TEST_P(ConfigUtilContract, ObserverUsesTheStoreFromItsCall) {
    Recorder removed, later;
    Actor actor([&] {
        store.Subscribe(u"B", &later);
        store.WriteValue(u"B.B.B", Read(store, u"A.A.A") + u"!", 0);
        store.Unsubscribe(u"A", &removed);
        store.Unsubscribe(u"A", &actor);
    });
    store.Subscribe(u"A", &actor);
    store.Subscribe(u"A", &removed);
    store.WriteValue(u"A.A.A", u"1", 0);
    EXPECT_EQ(later.WaitFor(1), Recorder::Lines{"B|B|B: ->1!"});
    store.WriteValue(u"A.A.A", u"2", 0);
    store.WriteValue(u"B.B.B", u"end", 0);
    EXPECT_EQ(later.WaitFor(2), (Recorder::Lines{"B|B|B: ->1!", "B|B|B: 1!->end"}));
    EXPECT_EQ(removed.WaitFor(0), Recorder::Lines());
    store.Unsubscribe(u"B", &later);
}

TEST_P(ConfigUtilContract, ThreadsReadAndWriteAtOnce) {
    constexpr int rounds = 50;
    const auto use = [&](int number) {
        const WideString key = u"Threads.Own." + ToWide(std::to_string(number));
        for (int round = 0; round < rounds; ++round) {
            const WideString value = ToWide(std::to_string(round));
            ASSERT_EQ(store.WriteValue(key, value, 0), 0u);
            ASSERT_EQ(Read(store, key), value);
            ASSERT_EQ(store.WriteValue(u"Threads.Shared.Key", value, 0), 0u);
        }
    };
    Recorder recorder;
    store.Subscribe(u"Threads", &recorder);
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) threads.emplace_back(use, number);
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(recorder.WaitFor(4 * 2 * rounds).size(), 4u * 2 * rounds);
    store.Unsubscribe(u"Threads", &recorder);
}

TEST_P(ConfigUtilContract, IntervalTexts) {
    const std::tuple<const char16_t*, uint32_t, uint32_t> good[] = {
        {u"0", 0, 0},          {u" 90 ", 90, 90},       {u"90s", 90, 90},       {u"2m", 120, 120},
        {u"3h", 10800, 10800}, {u"4d", 345600, 345600}, {u"rand(5,15)", 5, 15}, {u"rand( 7 , 7 )", 7, 7}};
    for (const auto& [text, least, greatest] : good) {
        SCOPED_TRACE(ToUtf8(text));
        uint32_t seconds = 77;
        EXPECT_EQ(store.EvaluateInterval(text, seconds), 0u);
        EXPECT_TRUE(seconds >= least && seconds <= greatest) << seconds;
    }
    for (const char16_t* text :
         {u"", u" ", u"s", u"-1", u"1.5", u"5w", u"5 m", u"4294967296", u"49711d", u"99999999999999999999",
          u"rand(5)", u"rand(6,5)", u"rand(5,6", u"rand(,)"}) {
        SCOPED_TRACE(ToUtf8(text));
        uint32_t seconds = 77;
        EXPECT_EQ(store.EvaluateInterval(text, seconds), InvalidParameter);
        EXPECT_EQ(seconds, 77u);
    }
    uint32_t drawn[3] = {};
    for (uint32_t draw = 0, seconds = 0; draw < 200; ++draw)
        if (store.EvaluateInterval(u"rand(1,2)", seconds) == 0) ++drawn[seconds];
    EXPECT_TRUE(drawn[1] > 0 && drawn[2] > 0);
}

}  // namespace
}  // namespace orrery::prefstore
