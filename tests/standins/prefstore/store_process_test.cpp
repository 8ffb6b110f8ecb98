// Several stores on one file, in this process and in others.
#include <gtest/gtest.h>
#include <signal.h>
#include <stdio.h>

#include <thread>

#include "standins/prefstore/store.h"
#include "standins/prefstore/store_fixture.h"

namespace orrery::prefstore {
namespace {

// A prefstore_writer and what it prints.
class Writer {
  public:
    Writer(const TemporaryFolder& folder, int count)
        : output(popen(
              ("exec " PREFSTORE_WRITER " " + folder.path.string() + " " + std::to_string(count)).c_str(),
              "r")),
          process(Next()) {}
    ~Writer() { pclose(output); }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    void Kill() const { kill(process, SIGKILL); }
    // The number acknowledged next; 0 at the end.
    int Next() {
        int number = 0;
        return fscanf(output, "%d", &number) == 1 ? number : 0;
    }

  private:
    FILE* output;
    int process;
};

WideString Number(int number) {
    return ToWide(std::to_string(number));
}

TEST(StoreProcesses, AcknowledgedWritesOutliveAKilledWriter) {
    TemporaryFolder folder;
    Writer writer(folder, 1'000'000);
    int last = 0;
    while (const int number = writer.Next()) {
        last = number;
        if (last == 300) writer.Kill();
    }
    Store store(folder.path);
    EXPECT_STREQ(store.Problem(), "");
    EXPECT_GE(last, 300);
    for (int n = 1; n <= last; ++n) ASSERT_EQ(Read(store, u"Test.Writer." + Number(n)), Number(n));
}

TEST(StoreProcesses, WritersOfTwoProcessesAreHeardByBoth) {
    TemporaryFolder folder;
    Store store(folder.path), other(folder.path);
    Recorder recorder, otherRecorder;
    store.Subscribe(u"Test", &recorder);
    other.Subscribe(u"Test", &otherRecorder);

    Writer writer(folder, 500);
    ASSERT_EQ(writer.Next(), 1);
    for (int n = 0; n < 100; ++n) ASSERT_EQ(store.WriteValue(u"Test.Own." + Number(n), u"v", 0), 0u);
    EXPECT_EQ(recorder.WaitFor(600).size(), 600u);
    EXPECT_EQ(otherRecorder.WaitFor(600), recorder.WaitFor(600));

    other.DeleteValue(u"Test.Writer.500");
    EXPECT_EQ(recorder.WaitFor(601).back(), "Test|Writer|500: 500->");
    EXPECT_EQ(Read(store, u"Test.Writer.500"), u"(none)");
    store.Unsubscribe(u"Test", &recorder);
    other.Unsubscribe(u"Test", &otherRecorder);
}

TEST(StoreProcesses, StoresOpenedAtOnceAgreeOnOneFile) {
    TemporaryFolder folder;
    std::vector<std::thread> threads;
    for (int n = 0; n < 8; ++n)
        threads.emplace_back([&, n] { Store(folder.path).WriteValue(u"Test.Opened." + Number(n), u"1", 0); });
    for (std::thread& thread : threads) thread.join();
    std::vector<std::pair<WideString, WideString>> listed;
    Store(folder.path).List(u"Test.Opened.", listed);
    EXPECT_EQ(listed.size(), 8u);
}

}  // namespace
}  // namespace orrery::prefstore
