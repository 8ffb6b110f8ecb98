// The library over the real kernel, in a network namespace of the test's own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "contracts/iphlpapi.h"
#include "platform/error_codes.h"
#include "platform/files.h"
#include "platform/library.h"
#include "platform/temporary_folder.h"

namespace orrery::iphlpapi {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

// Collects the types of one registration; `onCall` runs first.
class Listener {
  public:
    static void Callback(void* context, const IpInterfaceRow* row, NotificationType type) {
        auto& self = *static_cast<Listener*>(context);
        if (self.onCall) self.onCall(type);
        std::lock_guard lock(self.mutex);
        EXPECT_EQ(row == nullptr, type == InitialNotification);
        if (type != ParameterNotification) self.types.push_back(type);
        self.called.notify_all();
    }
    // What has come once there are `count` of them.
    std::vector<NotificationType> Await(size_t count) {
        std::unique_lock lock(mutex);
        called.wait_for(lock, std::chrono::seconds(30), [&] { return types.size() >= count; });
        return types;
    }

    std::function<void(NotificationType)> onCall;

  private:
    std::mutex mutex;
    std::condition_variable called;
    std::vector<NotificationType> types;  // changes of parameters left out
};

class IphlpapiTest : public testing::Test {
  protected:
    void SetUp() override {
        library = platform::OpenLibrary(platform::WidePath(MODULE_FOLDER), u"Iphlpapi.dll");
        ASSERT_TRUE(library) << platform::LastLibraryError();
        notify = reinterpret_cast<NotifyIpInterfaceChangeFunction>(
            platform::FindExport(library, "NotifyIpInterfaceChange"));
        cancel = reinterpret_cast<CancelMibChangeNotify2Function>(
            platform::FindExport(library, "CancelMibChangeNotify2"));
    }
    void TearDown() override { EXPECT_TRUE(platform::CloseLibrary(library)); }

    // 0, or why there is no namespace.
    static int InNamespace(const std::function<void()>& scenario) {
        int reason = 0;
        std::thread([&] {
            if (unshare(CLONE_NEWNET) != 0) {
                reason = errno;
            } else {
                scenario();
            }
        }).join();
        return reason;
    }
    static void Ip(const std::string& command) {
        ASSERT_EQ(std::system(("ip " + command).c_str()), 0) << command;
    }
    void* Register(Listener& listener, uint16_t family = AF_INET, bool initial = false) {
        void* handle = nullptr;
        EXPECT_EQ(notify(family, Listener::Callback, &listener, initial, &handle), Success);
        return handle;
    }

    platform::LibraryHandle library = nullptr;
    NotifyIpInterfaceChangeFunction notify = nullptr;
    CancelMibChangeNotify2Function cancel = nullptr;
};

#define RUN_IN_NAMESPACE(scenario) \
    if (const int reason = InNamespace(scenario)) GTEST_SKIP() << "no namespace: " << std::strerror(reason)

TEST_F(IphlpapiTest, InterfacesAppearAndGo) {
    RUN_IN_NAMESPACE([this] {
        Ip("link add old0 type veth peer name old1");
        Ip("addr add 10.8.0.1/24 dev old0");
        Listener all;
        Listener ip6;
        void* const allHandle = Register(all, 0, true);
        void* const ip6Handle = Register(ip6, AF_INET6);
        all.Await(1);

        Ip("link add v0 type veth peer name v1");
        Ip("addr add 10.9.0.1/24 dev v0");
        all.Await(2);
        Ip("addr add 10.9.0.2/24 dev v0");
        Ip("addr add 10.8.0.2/24 dev old0");
        Ip("link del v0");
        EXPECT_THAT(all.Await(3), ElementsAre(InitialNotification, AddInstance, DeleteInstance));
        EXPECT_EQ(cancel(allHandle), Success);
        EXPECT_EQ(cancel(allHandle), InvalidParameter);

        Ip("addr flush dev old0");
        EXPECT_EQ(cancel(ip6Handle), Success);
        EXPECT_THAT(ip6.Await(0), Not(Contains(AddInstance)));
    });
}

TEST_F(IphlpapiTest, LostChangesAreFoundByListing) {
    TemporaryFolder folder;
    {
        std::ofstream batch(folder.PathOf("batch"));
        for (int address = 0; address < 2000; ++address) {
            batch << "addr add 10." << address / 250 << ".1." << address % 250 + 1 << "/32 dev v0\n";
        }
        batch << "link del v0\n"
              << "link add w0 type veth peer name w1\n"
              << "addr add 10.99.0.1/24 dev w0\n";
    }
    RUN_IN_NAMESPACE([&] {
        // More changes than the socket holds come while the first one keeps the thread busy.
        Listener listener;
        std::once_flag once;
        listener.onCall = [&](NotificationType) {
            std::call_once(once, [&] { Ip("-batch " + folder.PathOf("batch")); });
        };
        Ip("link add v0 type veth peer name v1");
        void* const handle = Register(listener);
        Ip("addr add 10.9.0.1/24 dev v0");
        listener.Await(3);
        Ip("link del w0");
        EXPECT_THAT(listener.Await(4), ElementsAre(AddInstance, DeleteInstance, AddInstance, DeleteInstance));
        EXPECT_EQ(cancel(handle), Success);
    });
}

TEST_F(IphlpapiTest, CancellingInTheCallbackEndsIt) {
    RUN_IN_NAMESPACE([this] {
        Ip("link add v0 type veth peer name v1");
        Listener leaving;
        Listener staying;
        void* leavingHandle = nullptr;
        leaving.onCall = [&](NotificationType) { EXPECT_EQ(cancel(leavingHandle), Success); };
        void* const stayingHandle = Register(staying);
        EXPECT_EQ(notify(AF_INET, Listener::Callback, &leaving, false, &leavingHandle), Success);
        Ip("addr add 10.9.0.1/24 dev v0");
        Ip("addr del 10.9.0.1/24 dev v0");
        EXPECT_THAT(staying.Await(2), ElementsAre(AddInstance, DeleteInstance));
        EXPECT_EQ(cancel(stayingHandle), Success);

        // Now as the last one, which ends the thread that it is called on.
        Listener last;
        void* lastHandle = nullptr;
        last.onCall = [&](NotificationType) { EXPECT_EQ(cancel(lastHandle), Success); };
        EXPECT_EQ(notify(AF_INET, Listener::Callback, &last, false, &lastHandle), Success);
        Ip("addr add 10.9.0.1/24 dev v0");
        last.Await(1);
        EXPECT_EQ(cancel(lastHandle), InvalidParameter);
        EXPECT_THAT(leaving.Await(1), ElementsAre(AddInstance));
    });
}

}  // namespace
}  // namespace orrery::iphlpapi
