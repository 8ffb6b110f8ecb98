#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include "system/system_test.h"

namespace orrery::system_test {
namespace {

// In a network namespace of its own, which goes with its last process, whatever becomes of the test.
class InterfaceTest : public SystemTest {
  protected:
    void SetUp() override {
        if (unshare(CLONE_NEWNET) != 0) GTEST_SKIP() << "a network namespace can't be made here";
    }

    void TearDown() override {
        SystemTest::TearDown();
        setns(outside, CLONE_NEWNET);
        close(outside);
    }

    void Ip(Command arguments) const {
        arguments.insert(arguments.begin(), "ip");
        ASSERT_EQ(RunToEnd(arguments, PathOf("ip")).first, 0) << folder.Read("ip.err");
    }

    const int outside = open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
};

TEST_F(InterfaceTest, ANewInterfaceEndsTheLongWait) {
    Ip({"link", "set", "lo", "up"});
    Ip({"link", "add", "new0", "type", "veth", "peer", "name", "new1"});
    hubPort = FreePort();
    Install("ws://" + HubAddress(),
            {{"Realtime.Manager.MaxConnectionRetries", "1"}, {"Realtime.Manager.RetriesWait", "3600"}});
    Environment environment;
    // A sanitizer's own dlopen stands between the module and the loader, which then doesn't look beside the
    // module.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    environment["LD_LIBRARY_PATH"] = home + "/agent";
#endif
    StartAgent(environment);
    ASSERT_TRUE(Traced("the channel can't be connected"));
    // In there nobody but the agent has the kernel tell it of links and addresses.
    const std::string sockets = agent->Folder() + "/net/netlink";
    ASSERT_TRUE(Eventually([&] { return ReadFile(sockets).find(" 00000111 ") != std::string::npos; }));
    StartHub();
    EXPECT_TRUE(Subscribed().empty());
    Ip({"address", "add", "10.1.2.3/24", "dev", "new0"});
    EXPECT_TRUE(Registered());
}

}  // namespace
}  // namespace orrery::system_test
