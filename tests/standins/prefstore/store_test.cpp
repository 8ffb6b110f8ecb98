#include "standins/prefstore/store.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <thread>

#include "platform/error_codes.h"
#include "platform/text.h"
#include "standins/prefstore/interval.h"
#include "support/call_log.h"
#include "support/held_call.h"
#include "support/temporary_folder.h"

namespace orrery::prefstore {
namespace {

namespace fs = std::filesystem;
using Listed = std::vector<std::pair<WideString, WideString>>;
using Lines = std::vector<std::string>;

// Writes down what it hears; does first what the test tells it to.
class Recorder final : public IConfigChangeObserver, public test::CallLog {
  public:
    void OnConfigChange(const char16_t* section, const char16_t* group, const char16_t* name,
                        const char16_t* before, const char16_t* after) override {
        if (act) act();
        Note(ToUtf8(section) + "|" + ToUtf8(group) + "|" + ToUtf8(name) + ": " + ToUtf8(before) + "->" +
             ToUtf8(after));
    }

    std::function<void()> act;
};

WideString Read(ConfigUtil& store, const WideString& key) {
    WideString value;
    return store.ReadValue(key, value, 0) == 0 ? value : u"(none)";
}

WideString Number(auto number) {
    return ToWide(std::to_string(number));
}

class StoreTest : public testing::Test {
  protected:
    const TemporaryFolder folder;
    const std::string path = folder.PathOf("company/product");
    const std::string file = "company/product/settings.db";
};

TEST_F(StoreTest, ValueComesBackAsItWasWritten) {
    Store store(path);
    const WideString byteOrderMark = u"\uFEFFtext", loneSurrogate = {u'a', 0xD800, u'b'};
    for (const WideString& value :
         {WideString(), byteOrderMark, loneSurrogate, WideString(3'000'000, u'\u00fc')}) {
        ASSERT_EQ(store.WriteValue(u"Realtime.Manager.{a b}.c", value, 0), 0u);
        EXPECT_TRUE(Read(store, u"realtime.MANAGER.{a b}.c") == value) << value.size();
    }
    const WideString* value = nullptr;
    ASSERT_EQ(store.GetValue(u"Realtime.Manager.{a b}.c", &value, 0), 0u);
    EXPECT_EQ(store.DeleteValue(u"Realtime.Manager.{a b}.c"), 0u);
    EXPECT_EQ(value->size(), 3'000'000u);
    for (int i = 0; i < 2; ++i) store.ReleaseValue(&value);
    EXPECT_EQ(value, nullptr);
}

TEST_F(StoreTest, TooSmallBuffersAndMalformedKeysAndTextsAreRefused) {
    Store store(path);
    store.WriteValue(u"A.B.C", u"four", 0);
    char16_t buffer[5] = u"-";
    for (const auto& [room, result, text] : {std::tuple(4u, NotEnoughMemory, u"-"), {5u, Success, u"four"}}) {
        uint32_t size = room;
        EXPECT_EQ(store.ReadValueParts(u"A", u"B", u"C", buffer, &size, 0), uint32_t{result});
        EXPECT_EQ(WideString(buffer) + Number(size), text + Number(4));
    }
    for (const char16_t* key : {u"", u"A.B", u"A.B.", u"A..C", u".B.C"}) {
        WideString value;
        EXPECT_EQ(store.ReadValue(key, value, 0), InvalidParameter) << ToUtf8(key);
        EXPECT_EQ(store.WriteValue(key, u"x", 0), InvalidParameter) << ToUtf8(key);
        EXPECT_EQ(store.DeleteValue(key), InvalidParameter) << ToUtf8(key);
    }
    EXPECT_EQ(store.WriteValue(u"A.B.C", WideString(1, u'\0'), 0), InvalidParameter);
    EXPECT_EQ(store.WriteValueParts(u"A", nullptr, u"C", u"x", 0), InvalidParameter);
}

TEST_F(StoreTest, ObserverHearsEveryChangeOfItsSections) {
    Store store(path);
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

    const Lines expected = {"Realtime|Manager|Wait: 0->1", "Realtime|Manager|Wait: 1->1",
                            "Proxy|Default|a.b: ->2", "Realtime|Manager|Wait: 1->",
                            "realtime|manager|wait: ->3"};
    EXPECT_EQ(recorder.Take(expected.back()), expected);
    EXPECT_EQ(store.Unsubscribe(u"Realtime", &recorder), 0u);
    EXPECT_EQ(store.Unsubscribe(u"Realtime", &recorder), NotFound);
    store.Unsubscribe(u"Proxy", &recorder);
}

TEST_F(StoreTest, ObserverUsesTheStoreFromItsCall) {
    Store store(path);
    Recorder actor, removed, later;
    actor.act = [&] {
        store.Subscribe(u"B", &later);
        store.WriteValue(u"B.B.B", Read(store, u"A.A.A") + u"!", 0);
        store.Unsubscribe(u"A", &removed);
        store.Unsubscribe(u"A", &actor);
    };
    store.Subscribe(u"A", &actor);
    store.Subscribe(u"A", &removed);
    store.WriteValue(u"A.A.A", u"1", 0);
    EXPECT_EQ(later.Take("B|B|B: ->1!"), Lines{"B|B|B: ->1!"});
    store.WriteValue(u"A.A.A", u"2", 0);
    store.WriteValue(u"B.B.B", u"end", 0);
    EXPECT_EQ(later.Take("B|B|B: 1!->end"), Lines{"B|B|B: 1!->end"});
    EXPECT_EQ(removed.Take(), Lines());
    store.Unsubscribe(u"B", &later);
}

TEST(Interval, TextsAreEvaluatedOrRefused) {
    uint32_t seconds = 77;
    for (const char16_t* text :
         {u"", u"s", u"-1", u"5w", u"4294967296", u"49711d", u"rand(5)", u"rand(6,5)", u"rand(5,6"}) {
        EXPECT_EQ(EvaluateInterval(text, seconds), InvalidParameter) << ToUtf8(text);
        EXPECT_EQ(seconds, 77u);
    }
    const std::pair<const char16_t*, uint32_t> cases[] = {
        {u" 90 ", 90}, {u"90s", 90}, {u"2m", 120}, {u"3h", 10800}, {u"4d", 345600}, {u"rand( 7 , 7 )", 7}};
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(EvaluateInterval(text, seconds), 0u) << ToUtf8(text);
        EXPECT_EQ(seconds, expected);
    }
}

TEST_F(StoreTest, SettingsAreInAFileOfTheOwnerAloneAtACleanEndThoughOthersGoOn) {
    const mode_t mask = umask(0);
    Store other(path);
    {
        Store store(path);
        store.WriteValue(u"Events.Bind.Delay", u"1", 0);
        store.WriteValue(u"events.bind.DELAY", u"2", 0);
        store.WriteValue(u"Eventual.A.A", u"4", 0);
        for (const std::string& name :
             {std::string("company"), std::string("company/product"), file, file + "-wal", file + "-shm"}) {
            const auto mode = fs::status(folder.PathOf(name)).permissions();
            EXPECT_EQ(mode & ~fs::perms::owner_exec, fs::perms::owner_read | fs::perms::owner_write) << name;
        }
    }
    umask(mask);
    const TemporaryFolder copy;
    copy.Write("settings.db", folder.Read(file));
    Store copied(copy.PathOf(""));
    Listed listed;
    EXPECT_EQ(copied.List(u"events.", listed), 0u);
    EXPECT_EQ(listed, (Listed{{u"Events.Bind.Delay", u"2"}}));
    EXPECT_STREQ(copied.Problem(), "");
}

// Of the log, all or only some pages have reached the disk.
TEST_F(StoreTest, AKillCostsNoWriteAndAPowerCutOnlyTheLastOnes) {
    constexpr size_t writes = 100;
    Store store(path);
    for (size_t n = 1; n <= writes; ++n) store.WriteValue(u"Test.Written." + Number(n), Number(n), 0);
    const std::string log = folder.Read(file + "-wal");
    const auto lose = [&](size_t begin, size_t size) {
        return std::string(log).replace(begin, size, size, '\0');
    };
    const std::tuple<const char*, std::string, size_t, size_t> cases[] = {
        {"a kill", log, writes, writes},
        {"a torn end", log.substr(0, log.size() / 3) + "torn", 1, writes - 1},
        {"a lost page", lose(log.size() / 2, 4096), 1, writes - 1},
        {"a lost beginning", lose(0, 32), 0, 0},
    };
    for (const auto& [name, onDisk, least, most] : cases) {
        SCOPED_TRACE(name);
        const TemporaryFolder copy;
        copy.Write("settings.db", folder.Read(file));
        copy.Write("settings.db-wal", onDisk);
        Store copied(copy.PathOf(""));
        EXPECT_STREQ(copied.Problem(), "");
        Listed listed;
        copied.List(u"Test.Written.", listed);
        EXPECT_TRUE(listed.size() >= least && listed.size() <= most) << listed.size();
        for (size_t n = 1; n <= listed.size(); ++n)
            EXPECT_EQ(Read(copied, u"Test.Written." + Number(n)), Number(n));
    }
}

TEST_F(StoreTest, ABackupPutInTheFilesPlaceIsFollowedAndHeard) {
    Store store(path);
    for (const char16_t* name : {u"A.A.same", u"A.A.changed", u"A.A.gone"}) store.WriteValue(name, u"1", 0);
    const TemporaryFolder elsewhere;
    {
        Store backup(elsewhere.PathOf(""));
        backup.WriteValue(u"A.A.same", u"1", 0);
        backup.WriteValue(u"A.A.changed", u"2", 0);
        backup.WriteValue(u"A.A.new", u"3", 0);
    }
    Recorder recorder;
    store.Subscribe(u"A", &recorder);
    for (const char* part : {"-wal", "-shm"}) fs::remove(folder.PathOf(file + part));
    fs::rename(elsewhere.PathOf("settings.db"), folder.PathOf(file));
    const Lines expected = {"A|A|gone: 1->", "A|A|changed: 1->2", "A|A|new: ->3"};
    EXPECT_EQ(recorder.Take(expected.back()), expected);
    store.Unsubscribe(u"A", &recorder);
}

// Stores of one process and of several work together by the same means.
TEST_F(StoreTest, WritersOfTwoStoresAreHeardByBoth) {
    Store store(path), other(path);
    Recorder recorder, otherRecorder;
    store.Subscribe(u"Test", &recorder);
    other.Subscribe(u"Test", &otherRecorder);
    const auto write = [](Store* to, const WideString& key) {
        for (int n = 0; n < 50; ++n) ASSERT_EQ(to->WriteValue(key + Number(n), u"v", 0), 0u);
    };
    std::thread first(write, &store, u"Test.First."), second(write, &other, u"Test.Second.");
    write(&store, u"Test.Own.");
    for (std::thread* thread : {&first, &second}) thread->join();
    other.WriteValue(u"Test.The.End", u"v", 0);
    const Lines heard = recorder.Take("Test|The|End: ->v");
    EXPECT_EQ(heard.size(), 151u);
    EXPECT_EQ(otherRecorder.Take(heard.back()), heard);
    store.Unsubscribe(u"Test", &recorder);
    other.Unsubscribe(u"Test", &otherRecorder);
}

TEST_F(StoreTest, UnsubscribeWaitsForTheCallInFlight) {
    test::HeldCall call;
    Recorder blocked;
    blocked.act = [&] { call.Stay(); };
    Store store(path);
    store.Subscribe(u"A", &blocked);
    store.Subscribe(u"Other", &blocked);
    store.WriteValue(u"A.B.C", u"1", 0);
    call.WaitUntilBegun();
    store.Unsubscribe(u"Other", &blocked);
    EXPECT_TRUE(call.IsAwaitedBy([&] { store.Unsubscribe(u"A", &blocked); }));
}

TEST_F(StoreTest, DamagedFileIsSetAsideWhole) {
    ASSERT_EQ(Store(path).WriteValue(u"A.B.C", u"kept", 0), 0u);
    const size_t pageSize = 1024;
    const std::string header = folder.Read(file).substr(0, pageSize);
    // The file and its log; what is set aside must hold the same.
    const std::pair<std::string, std::string> cases[] = {{std::string(9000, 'x'), ""},
                                                         {header + std::string(3 * pageSize, '\0'), ""},
                                                         {"", "a log without its file"}};
    for (const auto& [bytes, log] : cases) {
        const TemporaryFolder damaged;
        damaged.Write("settings.db", bytes);
        damaged.Write("settings.db-wal", log);
        damaged.Write("settings.db-shm", "index");
        {
            Store store(damaged.PathOf(""));
            const std::string problem = store.Problem();
            const size_t name = problem.find("settings.db.damaged-");
            ASSERT_NE(name, std::string::npos) << problem;
            const std::string aside = problem.substr(name, problem.find(' ', name) - name);
            EXPECT_TRUE(damaged.Read(aside) == bytes && damaged.Read(aside + "-wal") == log) << problem;
            EXPECT_TRUE(fs::exists(damaged.PathOf(aside + "-shm"))) << problem;
            EXPECT_EQ(store.WriteValue(u"A.B.C", u"new", 0), 0u);
        }
        EXPECT_FALSE(fs::exists(damaged.PathOf("settings.db-wal"))) << "all of it is in the file";
        Store next(damaged.PathOf(""));
        EXPECT_STREQ(next.Problem(), "");
        EXPECT_EQ(Read(next, u"A.B.C"), u"new");
    }
}

TEST_F(StoreTest, FailedWriteChangesNothing) {
    Store store(path);
    Recorder recorder;
    store.WriteValue(u"A.B.C", u"before", 0);
    store.Subscribe(u"A", &recorder);

    // No file of this process may grow beyond the limit: the log can't take the transaction.
    signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small{256 * 1024, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    const uint32_t result = store.WriteValue(u"A.B.C", WideString(1'000'000, u'x'), 0);
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_NE(result, 0u);
    EXPECT_EQ(Read(store, u"A.B.C"), u"before");

    EXPECT_EQ(store.WriteValue(u"A.B.C", u"after", 0), 0u);
    EXPECT_EQ(recorder.Take("A|B|C: before->after"), Lines{"A|B|C: before->after"});
    store.Unsubscribe(u"A", &recorder);
}

}  // namespace
}  // namespace orrery::prefstore
