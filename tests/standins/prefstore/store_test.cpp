#include "standins/prefstore/store.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "platform/text.h"
#include "standins/prefstore/interval.h"
#include "support/call_log.h"
#include "support/fake_config_util.h"
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

// What every settings store promises: run over the real one and over the fake that other tests use.
class ConfigUtilContract : public testing::TestWithParam<const char*> {
  protected:
    std::unique_ptr<ConfigUtil> Make() {
        if (GetParam() == std::string("Fake")) return std::make_unique<test::FakeConfigUtil>();
        return std::make_unique<Store>(folder.PathOf("store"));
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

TEST_P(ConfigUtilContract, TooSmallBuffersAndMalformedKeysAndTextsAreRefused) {
    store.WriteValue(u"A.B.C", u"four", 0);
    char16_t buffer[5] = u"-";
    uint32_t size = 4;
    EXPECT_EQ(store.ReadValueParts(u"A", u"B", u"C", buffer, &size, 0), NotEnoughMemory);
    EXPECT_EQ(WideString(buffer) + ToWide(std::to_string(size)), u"-4");
    size = 5;
    EXPECT_EQ(store.ReadValueParts(u"A", u"B", u"C", buffer, &size, 0), Success);
    EXPECT_EQ(WideString(buffer) + ToWide(std::to_string(size)), u"four4");
    for (const char16_t* key : {u"", u"A.B", u"A.B.", u"A..C", u".B.C"}) {
        WideString value = u"-";
        EXPECT_EQ(store.ReadValue(key, value, 0), InvalidParameter) << ToUtf8(key);
        EXPECT_EQ(store.WriteValue(key, u"x", 0), InvalidParameter) << ToUtf8(key);
        EXPECT_EQ(store.DeleteValue(key), InvalidParameter) << ToUtf8(key);
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

    const Lines expected = {"Realtime|Manager|Wait: 0->1", "Realtime|Manager|Wait: 1->1",
                            "Proxy|Default|a.b: ->2", "Realtime|Manager|Wait: 1->",
                            "realtime|manager|wait: ->3"};
    EXPECT_EQ(recorder.Take(expected.back()), expected);
    EXPECT_EQ(store.Unsubscribe(u"Realtime", &recorder), 0u);
    EXPECT_EQ(store.Unsubscribe(u"Realtime", &recorder), NotFound);
    store.Unsubscribe(u"Proxy", &recorder);
}

TEST_P(ConfigUtilContract, ObserverUsesTheStoreFromItsCall) {
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

TEST_P(ConfigUtilContract, ThreadsReadAndWriteAtOnce) {
    const auto use = [&](const WideString& key) {
        for (int round = 0; round < 50; ++round) {
            const WideString value = ToWide(std::to_string(round));
            ASSERT_EQ(store.WriteValue(key, value, 0), 0u);
            ASSERT_EQ(Read(store, key), value);
            ASSERT_EQ(store.WriteValue(u"Threads.Shared.Key", value, 0), 0u);
        }
    };
    Recorder recorder;
    store.Subscribe(u"Threads", &recorder);
    std::vector<std::thread> threads;
    for (const char16_t* key : {u"Threads.Own.1", u"Threads.Own.2", u"Threads.Own.3"})
        threads.emplace_back(use, key);
    for (std::thread& thread : threads) thread.join();
    store.WriteValue(u"Threads.Last.Key", u"", 0);
    EXPECT_EQ(recorder.Take("Threads|Last|Key: ->").size(), 3u * 2 * 50 + 1);
    store.Unsubscribe(u"Threads", &recorder);
}

TEST(Interval, TextsAreEvaluatedOrRefused) {
    const std::tuple<const char16_t*, uint32_t, uint32_t> good[] = {
        {u" 90 ", 90, 90},       {u"90s", 90, 90},       {u"2m", 120, 120},       {u"3h", 10800, 10800},
        {u"4d", 345600, 345600}, {u"rand(5,15)", 5, 15}, {u"rand( 7 , 7 )", 7, 7}};
    uint32_t seconds = 77;
    for (const char16_t* text :
         {u"", u" ", u"s", u"-1", u"1.5", u"5w", u"5 m", u"4294967296", u"49711d", u"99999999999999999999",
          u"rand(5)", u"rand(6,5)", u"rand(5,6", u"rand(,)"}) {
        EXPECT_EQ(EvaluateInterval(text, seconds), InvalidParameter) << ToUtf8(text);
        EXPECT_EQ(seconds, 77u);
    }
    for (const auto& [text, least, greatest] : good) {
        EXPECT_EQ(EvaluateInterval(text, seconds), 0u) << ToUtf8(text);
        EXPECT_TRUE(seconds >= least && seconds <= greatest) << seconds;
    }
}

// What only the store on disk has to show: its files, its failures, its waiting, several stores on one file.

WideString Number(auto number) {
    return ToWide(std::to_string(number));
}

// A process that writes Test.Writer.<n>, for n from 1 to `count`, once `acknowledged` is 0, and then keeps
// the last number whose write was acknowledged there. To be made while this process has one thread.
class Writer {
  public:
    Writer(const std::string& folder, int count) : process(fork()) {
        if (process != 0) return;
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        while (acknowledged < 0) std::this_thread::yield();
        Store store(folder);
        for (int n = 1; n <= count && store.WriteValue(u"Test.Writer." + Number(n), Number(n), 0) == 0; ++n)
            acknowledged = n;
        _exit(0);
    }
    ~Writer() {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    // In memory that both processes see, and that stays.
    std::atomic<int>& acknowledged = *new (mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE,
                                                MAP_SHARED | MAP_ANONYMOUS, -1, 0)) std::atomic<int>(-1);

  private:
    const pid_t process;
};

class StoreTest : public testing::Test {
  protected:
    const TemporaryFolder folder;
    const std::string path = folder.PathOf("company/product");
    const std::string file = "company/product/settings.db";
};

TEST_F(StoreTest, SettingsOutliveTheStoreInFilesOfTheOwnerAlone) {
    const mode_t mask = umask(0);
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
    EXPECT_FALSE(fs::exists(folder.PathOf(file + "-wal"))) << "all of it is in the file";
    Store store(path);
    Listed listed;
    EXPECT_EQ(store.List(u"events.", listed), 0u);
    EXPECT_EQ(listed, (Listed{{u"Events.Bind.Delay", u"2"}}));
    EXPECT_STREQ(store.Problem(), "");
}

TEST_F(StoreTest, AcknowledgedWritesOutliveAKilledWriter) {
    auto writer = std::make_unique<Writer>(path, 1'000'000);
    std::atomic<int>& acknowledged = writer->acknowledged;
    acknowledged = 0;
    EXPECT_TRUE(test::Eventually([&] { return acknowledged >= 300; }));
    writer.reset();
    Store store(path);
    EXPECT_STREQ(store.Problem(), "");
    for (int n = 1; n <= acknowledged; ++n) ASSERT_EQ(Read(store, u"Test.Writer." + Number(n)), Number(n));
}

// At a moment under load the power goes: of the log, only some of its pages have reached the disk.
TEST_F(StoreTest, APowerCutCostsTheLastWritesAndNeverTheStore) {
    auto writer = std::make_unique<Writer>(path, 1'000'000);
    std::atomic<int>& acknowledged = writer->acknowledged;
    acknowledged = 0;
    EXPECT_TRUE(test::Eventually([&] { return acknowledged >= 100; }));
    writer.reset();
    const std::string settings = folder.Read(file), log = folder.Read(file + "-wal");
    const auto lose = [&](size_t begin, size_t size) {
        std::string left = log;
        return left.replace(std::min(begin, left.size()), size, size, '\0');
    };
    const std::string third(log, 0, log.size() / 3);
    for (const std::string& onDisk :
         {log, third, third + "torn", lose(log.size() / 2, 4096), lose(0, 32), std::string()}) {
        const TemporaryFolder copy;
        copy.Write("settings.db", settings);
        copy.Write("settings.db-wal", onDisk);
        Store store(copy.PathOf(""));
        EXPECT_STREQ(store.Problem(), "");
        Listed listed;
        store.List(u"Test.Writer.", listed);
        for (size_t n = 1; n <= listed.size(); ++n)
            EXPECT_EQ(Read(store, u"Test.Writer." + Number(n)), Number(n)) << "of " << listed.size();
        EXPECT_EQ(listed.empty(), onDisk.empty() || onDisk[0] == 0);
    }
}

TEST_F(StoreTest, ACleanEndPutsItsWritesIntoTheFileThoughOthersGoOn) {
    Store other(path);
    EXPECT_EQ(Store(path).WriteValue(u"A.B.C", u"kept", 0), Success);
    const TemporaryFolder copy;
    copy.Write("settings.db", folder.Read(file));
    Store copied(copy.PathOf(""));
    EXPECT_EQ(Read(copied, u"A.B.C"), u"kept");
}

TEST_F(StoreTest, AFileOfAnEarlierVersionIsTakenOver) {
    ASSERT_EQ(Store(path).WriteValue(u"A.B.C", u"kept", 0), Success);
    const std::string earlier =
        "sqlite3 " + folder.PathOf(file) + " 'PRAGMA journal_mode = DELETE' >/dev/null";
    ASSERT_EQ(std::system(earlier.c_str()), 0);
    Store store(path);
    EXPECT_EQ(Read(store, u"A.B.C"), u"kept");
    EXPECT_TRUE(fs::exists(folder.PathOf(file + "-wal")));
}

TEST_F(StoreTest, ABackupPutInTheFilesPlaceIsFollowedAndHeard) {
    Store store(path);
    for (const char16_t* name : {u"A.A.same", u"A.A.changed", u"A.A.gone"}) store.WriteValue(name, u"1", 0);
    const TemporaryFolder elsewhere;
    {
        Store backup(elsewhere.PathOf(""));
        backup.WriteValue(u"A.A.never", u"1", 0);
        backup.DeleteValue(u"A.A.never");
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
    EXPECT_EQ(store.WriteValue(u"A.A.same", u"4", 0), Success);
    EXPECT_EQ(Read(*std::make_unique<Store>(path), u"A.A.same"), u"4");
    store.Unsubscribe(u"A", &recorder);
}

TEST_F(StoreTest, WritersOfTwoProcessesAreHeardByBoth) {
    Writer writer(path, 500);
    Store store(path), other(path);
    Recorder recorder, otherRecorder;
    store.Subscribe(u"Test", &recorder);
    other.Subscribe(u"Test", &otherRecorder);
    writer.acknowledged = 0;
    for (int n = 0; n < 100; ++n) ASSERT_EQ(store.WriteValue(u"Test.Own." + Number(n), u"v", 0), 0u);
    EXPECT_TRUE(test::Eventually([&] { return writer.acknowledged == 500; }));
    // Several foreign writes of one key between two looks are heard as one.
    for (Store* one : {&store, &other})
        EXPECT_TRUE(test::Eventually([&] { return Read(*one, u"Test.Writer.500") == u"500"; }));
    other.DeleteValue(u"Test.Writer.500");
    const Lines heard = recorder.Take("Test|Writer|500: 500->");
    EXPECT_EQ(heard.size(), 601u);
    EXPECT_EQ(otherRecorder.Take(heard.back()), heard);
    EXPECT_EQ(Read(store, u"Test.Writer.500"), u"(none)");
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
        for (const auto& entry : fs::directory_iterator(path)) fs::remove(entry);
        folder.Write(file, bytes);
        folder.Write(file + "-wal", log);
        folder.Write(file + "-shm", "index");
        {
            Store store(path);
            const std::string problem = store.Problem();
            const size_t name = problem.find("settings.db.damaged-");
            ASSERT_NE(name, std::string::npos) << problem;
            const std::string aside =
                "company/product/" + problem.substr(name, problem.find(' ', name) - name);
            EXPECT_TRUE(folder.Read(aside) == bytes && folder.Read(aside + "-wal") == log) << problem;
            EXPECT_TRUE(fs::exists(folder.PathOf(aside + "-shm"))) << problem;
            EXPECT_EQ(store.WriteValue(u"A.B.C", u"new", 0), 0u);
        }
        Store next(path);
        EXPECT_STREQ(next.Problem(), "");
        EXPECT_EQ(Read(next, u"A.B.C"), u"new");
    }
}

TEST_F(StoreTest, AReadOnlyHomeSaysSo) {
    ASSERT_EQ(Store(path).WriteValue(u"A.B.C", u"kept", 0), Success);
    std::string problem = "no namespace";
    std::thread([&] {
        if (unshare(CLONE_NEWNS) != 0 || mount("", "/", "", MS_REC | MS_PRIVATE, "") != 0) return;
        mount(path.c_str(), path.c_str(), "", MS_BIND, "");
        mount("", path.c_str(), "", MS_BIND | MS_REMOUNT | MS_RDONLY, "");
        problem = Store(path).Problem();
    }).join();
    EXPECT_TRUE(problem.ends_with("cannot be opened: Read-only file system.")) << problem;
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
