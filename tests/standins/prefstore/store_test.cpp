// What only the store on disk has to show: its files, its failures, its waiting.
#include "standins/prefstore/store.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <fstream>
#include <future>

#include "platform/error_codes.h"
#include "standins/prefstore/store_fixture.h"

namespace orrery::prefstore {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using Listed = std::vector<std::pair<WideString, WideString>>;

class StoreTest : public testing::Test {
  protected:
    fs::path File(const std::string& name = "settings.db") const { return folder.path / name; }

    std::string Bytes(const fs::path& file) const {
        std::ifstream in(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    // A store with one setting, closed again.
    void MakeStore() const { ASSERT_EQ(Store(folder.path).WriteValue(u"A.B.C", u"kept", 0), 0u); }

    TemporaryFolder folder;
};

TEST_F(StoreTest, SettingsOutliveTheStoreInFilesOfTheOwnerAlone) {
    const mode_t mask = umask(0);
    {
        Store store(folder.path / "company" / "product");
        store.WriteValue(u"Events.Bind.Delay", u"1", 0);
        store.WriteValue(u"events.bind.DELAY", u"2", 0);
        store.WriteValue(u"Events.Gone.Delay", u"3", 0);
        store.DeleteValue(u"Events.Gone.Delay");
        store.WriteValue(u"Eventual.A.A", u"4", 0);
        for (const char* name : {"", "product/", "product/settings.db", "product/settings.db-wal"}) {
            const auto mode = fs::status(folder.path / "company" / name).permissions();
            EXPECT_EQ(mode & ~fs::perms::owner_exec, fs::perms::owner_read | fs::perms::owner_write) << name;
        }
    }
    umask(mask);
    Store store(folder.path / "company" / "product");
    Listed listed;
    EXPECT_EQ(store.List(u"events.", listed), 0u);
    EXPECT_EQ(listed, (Listed{{u"Events.Bind.Delay", u"2"}}));
    EXPECT_EQ(store.List(u"", listed), 0u);
    EXPECT_EQ(listed, (Listed{{u"Events.Bind.Delay", u"2"}, {u"Eventual.A.A", u"4"}}));
    EXPECT_STREQ(store.Problem(), "");
}

TEST_F(StoreTest, UnsubscribeWaitsForTheCallInFlight) {
    std::promise<void> entered, gate;
    std::atomic<bool> hasLeft = false;
    Actor blocked([&] {
        entered.set_value();
        gate.get_future().wait();
        hasLeft = true;
    });
    Store store(folder.path);
    store.Subscribe(u"A", &blocked);
    store.Subscribe(u"Other", &blocked);
    store.WriteValue(u"A.B.C", u"1", 0);
    entered.get_future().wait();

    store.Unsubscribe(u"Other", &blocked);
    const auto unsubscribe = [&] {
        store.Unsubscribe(u"A", &blocked);
        return hasLeft.load();
    };
    std::vector<std::future<bool>> waiting;
    // The second finds no subscription any more; it waits all the same.
    for (int round = 0; round < 2; ++round) waiting.push_back(std::async(std::launch::async, unsubscribe));
    for (auto& each : waiting)
        EXPECT_EQ(each.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    gate.set_value();
    for (auto& each : waiting) EXPECT_TRUE(each.get());
}

TEST_F(StoreTest, DamagedFileIsSetAsideWhole) {
    MakeStore();
    const std::string header = Bytes(File()).substr(0, 4096);
    // The file and its log; what is set aside must hold the same.
    const std::pair<std::string, std::string> cases[] = {{std::string(9000, 'x'), ""},
                                                         {header + std::string(3 * 4096, '\0'), ""},
                                                         {"", "a log without its file"}};
    for (const auto& [file, log] : cases) {
        for (const auto& entry : fs::directory_iterator(folder.path)) fs::remove(entry);
        std::ofstream(File(), std::ios::binary) << file;
        std::ofstream(File("settings.db-wal"), std::ios::binary) << log;
        {
            Store store(folder.path);
            const std::string problem = store.Problem();
            const size_t name = problem.find("settings.db.damaged-");
            ASSERT_NE(name, std::string::npos) << problem;
            const fs::path aside = File(problem.substr(name, problem.find(' ', name) - name));
            EXPECT_TRUE(Bytes(aside) == file && Bytes(aside.string() + "-wal") == log) << problem;
            EXPECT_EQ(store.WriteValue(u"A.B.C", u"new", 0), 0u);
        }
        Store next(folder.path);
        EXPECT_STREQ(next.Problem(), "");
        EXPECT_EQ(Read(next, u"A.B.C"), u"new");
    }
}

TEST_F(StoreTest, StoreThatCannotBeOpenedSaysWhy) {
    std::ofstream(File("file")) << "no folder";
    Store store(File("file"));
    EXPECT_FALSE(store.IsOpen());
    EXPECT_THAT(store.Problem(), HasSubstr("Not a directory"));
    EXPECT_EQ(store.WriteValue(u"A.B.C", u"x", 0), AccessDenied);
    EXPECT_EQ(Read(store, u"A.B.C"), u"(none)");
}

TEST_F(StoreTest, FailedWriteChangesNothing) {
    Store store(folder.path);
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
    EXPECT_EQ(recorder.WaitFor(1), Recorder::Lines{"A|B|C: before->after"});
    store.Unsubscribe(u"A", &recorder);
}

TEST_F(StoreTest, BackupPutInPlaceOfTheFileIsFollowed) {
    MakeStore();
    fs::copy_file(File(), File("backup"));
    Store store(folder.path);
    Recorder recorder;
    store.WriteValue(u"A.B.C", u"later", 0);
    store.WriteValue(u"A.B.D", u"later still", 0);
    store.Subscribe(u"A", &recorder);

    for (const char* log : {"settings.db-wal", "settings.db-shm"}) fs::remove(File(log));
    fs::rename(File("backup"), File());
    EXPECT_EQ(recorder.WaitFor(2), (Recorder::Lines{"A|B|D: later still->", "A|B|C: later->kept"}));
    EXPECT_EQ(store.WriteValue(u"A.B.E", u"1", 0), 0u);
    store.Unsubscribe(u"A", &recorder);
    Store other(folder.path);
    EXPECT_EQ(Read(other, u"A.B.E"), u"1");
    EXPECT_EQ(Read(other, u"A.B.C"), u"kept");
}

TEST_F(StoreTest, LibraryServesOneStoreUntilItIsUnloaded) {
    setenv("ORRERY_DATA", folder.path.c_str(), 1);
    setenv("ORRERY_REGISTRY", File("none.reg").c_str(), 1);
    for (const char16_t* expected : {u"(none)", u"stored"}) {
        void* library = dlopen(PREFSTORE_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << dlerror();
        const auto getUtil = reinterpret_cast<ConfigUtil* (*)()>(dlsym(library, "GetUtil"));
        ConfigUtil* store = getUtil();
        ASSERT_NE(store, nullptr);
        EXPECT_EQ(getUtil(), store);
        EXPECT_EQ(Read(*store, u"A.B.C"), expected);
        EXPECT_EQ(store->WriteValue(u"A.B.C", u"stored", 0), 0u);
        EXPECT_EQ(dlclose(library), 0);
        EXPECT_EQ(dlopen(PREFSTORE_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr);
    }
    unsetenv("ORRERY_DATA");
    unsetenv("ORRERY_REGISTRY");
}

}  // namespace
}  // namespace orrery::prefstore
