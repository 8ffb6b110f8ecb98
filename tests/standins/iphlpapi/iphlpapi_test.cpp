#include "contracts/iphlpapi.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdlib>
#include <mutex>
#include <thread>

#include "platform/error_codes.h"
#include "support/call_log.h"
#include "support/held_call.h"
#include "support/temporary_folder.h"

namespace orrery::iphlpapi {

extern "C" uint32_t NotifyIpInterfaceChange(uint16_t family, IpInterfaceChangeCallback callback,
                                            void* context, bool initialNotification, void** handle);
extern "C" uint32_t CancelMibChangeNotify2(void* handle);

namespace {

// One registration: keeps what comes, "+", "-" and "!" for the initial one; `onCall` runs first.
class Listener {
  public:
    void Register(uint16_t family = AF_INET, bool initial = false) {
        EXPECT_EQ(NotifyIpInterfaceChange(family, Callback, this, initial, &handle), Success);
    }
    uint32_t Cancel() { return CancelMibChangeNotify2(handle); }
    // What has come, once there are `count` of them.
    std::string Await(size_t count) {
        test::Eventually([&] { return size >= count; });
        return {text, size};
    }

    std::function<void()> onCall;

  private:
    static void Callback(void* context, const IpInterfaceRow* row, NotificationType type) {
        auto& self = *static_cast<Listener*>(context);
        if (self.onCall) self.onCall();
        EXPECT_EQ(row == nullptr, type == InitialNotification);
        if (type == ParameterNotification || self.size == sizeof self.text) return;
        self.text[self.size] = "~+-!"[type];
        ++self.size;
    }

    void* handle = nullptr;
    char text[64] = "";  // changes of parameters left out
    std::atomic<size_t> size{0};
};

void Ip(const std::string& command) {
    ASSERT_EQ(std::system(("ip " + command).c_str()), 0) << command;
}

// The library over the real kernel, in a network namespace of the test's own.
void RunInNamespace(const std::function<void()>& scenario) {
    int reason = 0;
    std::thread([&] {
        if (unshare(CLONE_NEWNET) == 0) return scenario();
        reason = errno;
    }).join();
    if (reason != 0) GTEST_SKIP() << "no namespace, error " << reason;
}

TEST(IphlpapiTest, InterfacesAppearAndGo) {
    RunInNamespace([] {
        Ip("link add old0 type veth peer name old1");
        Ip("addr add 10.8.0.1/24 dev old0");
        Listener all, six;
        all.Register(0, true);
        six.Register(AF_INET6);
        all.Await(1);
        Ip("link add v0 type veth peer name v1");
        Ip("addr add 10.9.0.1/24 dev v0");
        all.Await(2);
        Ip("addr add 10.9.0.2/24 dev v0");
        Ip("addr del 10.9.0.2/24 dev v0");
        Ip("addr add fd00::1/64 dev v0");
        Ip("link del v0");
        EXPECT_EQ(all.Await(5), "!++--");
        EXPECT_EQ(six.Await(2), "+-");
        EXPECT_EQ(six.Cancel(), Success);
        EXPECT_EQ(all.Cancel(), Success);
        EXPECT_EQ(all.Cancel(), InvalidParameter);
    });
}

TEST(IphlpapiTest, LostChangesAreFoundByListing) {
    TemporaryFolder folder;
    std::string batch;
    for (int address = 0; address < 2000; ++address)
        batch += "addr add 10." + std::to_string(address / 250) + ".1." + std::to_string(address % 250 + 1) +
                 "/32 dev v0\n";
    folder.Write("batch",
                 batch + "link del v0\nlink add w0 type veth peer name w1\naddr add 10.99.0.1/24 dev w0\n");
    RunInNamespace([&] {
        // More changes than the socket holds come while the first one keeps the thread busy.
        Listener listener;
        std::once_flag once;
        listener.onCall = [&] { std::call_once(once, [&] { Ip("-batch " + folder.PathOf("batch")); }); };
        Ip("link add v0 type veth peer name v1");
        listener.Register();
        Ip("addr add 10.9.0.1/24 dev v0");
        listener.Await(3);
        Ip("link del w0");
        EXPECT_EQ(listener.Await(4), "+-+-");
        EXPECT_EQ(listener.Cancel(), Success);
    });
}

TEST(IphlpapiTest, CancellingWaitsForTheCallInFlight) {
    RunInNamespace([] {
        test::HeldCall call;
        std::once_flag cancelled;
        Listener listener, staying;
        staying.Register();  // else the end of the thread would be waited for
        listener.onCall = [&] { call.Stay(); };
        listener.Register(AF_INET, true);
        const auto cancel = [&] { std::call_once(cancelled, [&] { listener.Cancel(); }); };
        EXPECT_TRUE(call.IsAwaitedBy(cancel));
        EXPECT_EQ(staying.Cancel(), Success);
    });
}

TEST(IphlpapiTest, CancellingInTheCallbackEndsIt) {
    RunInNamespace([] {
        Ip("link add v0 type veth peer name v1");
        // The last one ends the thread that it is called on.
        Listener last;
        last.onCall = [&] { EXPECT_EQ(last.Cancel(), Success); };
        last.Register();
        Ip("addr add 10.9.0.1/24 dev v0");
        EXPECT_EQ(last.Await(1), "+");
        EXPECT_EQ(last.Cancel(), InvalidParameter);
    });
}

}  // namespace
}  // namespace orrery::iphlpapi
