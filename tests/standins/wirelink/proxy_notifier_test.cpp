#include "standins/wirelink/proxy_notifier.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>

namespace orrery::wirelink {
namespace {

class Observer final : public IProxyUsedObserver {
  public:
    explicit Observer(std::function<void(IProxySetting*)> onCall) : onCall(std::move(onCall)) {}
    void OnProxyUsed(IProxySetting* proxy) override { onCall(proxy); }

  private:
    const std::function<void(IProxySetting*)> onCall;
};

std::unique_ptr<ProxySetting> Explicit() {
    return std::make_unique<ProxySetting>(ProxyValues{.mode = ProxyExplicit});
}

TEST(ProxyNotifierTest, ReportsInOrderAndSurvivesAnObserverThatThrows) {
    ProxyNotifier notifier;
    std::promise<void> second;
    bool firstSeen = false;
    Observer observer([&](IProxySetting* proxy) {
        if (proxy) {
            firstSeen = proxy->Mode() == ProxyExplicit;
            throw std::runtime_error("observer");
        }
        notifier.SetObserver(nullptr);  // from its own call: doesn't wait
        second.set_value();
    });
    notifier.Report(Explicit());  // nobody observes: gone
    notifier.SetObserver(&observer);
    notifier.Report(Explicit());
    notifier.Report(nullptr);
    second.get_future().wait();
    EXPECT_TRUE(firstSeen);
}

TEST(ProxyNotifierTest, RemovalWaitsForTheCallInFlight) {
    std::promise<void> begun;
    std::promise<void> removing;
    std::atomic<int> returned = 0;
    Observer observer([&](IProxySetting*) {
        begun.set_value();
        removing.get_future().wait();
        for (int turn = 0; turn < 1000; ++turn) std::this_thread::yield();
        ++returned;
    });
    ProxyNotifier notifier;
    notifier.SetObserver(&observer);
    notifier.Report(Explicit());
    notifier.Report(Explicit());
    begun.get_future().wait();
    removing.set_value();
    notifier.SetObserver(nullptr);
    EXPECT_EQ(returned, 1);
}

}  // namespace
}  // namespace orrery::wirelink
