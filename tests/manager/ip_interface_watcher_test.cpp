#include "manager/ip_interface_watcher.h"

#include <dlfcn.h>
#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace orrery::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// What the library behind the watcher was asked, and what it answers.
struct Interfaces {
    uint32_t answer = 0;
    std::vector<std::string> calls;
    IpInterfaceChangeCallback callback = nullptr;
    void* context = nullptr;
    int registrations = 0;

    std::vector<std::string> Take() { return std::exchange(calls, {}); }
    void Tell(NotificationType type) { callback(context, nullptr, type); }
};
Interfaces interfaces;

// While it lives, the watcher's library is found, as if the system had it.
class Loaded {
  public:
    explicit Loaded(const std::string& library)
        : handle(::dlopen((std::string(TEST_LIBRARY_FOLDER "/") + library + ".so").c_str(), RTLD_NOW)) {
        EXPECT_NE(handle, nullptr) << ::dlerror();
        interfaces = {};
    }
    ~Loaded() { ::dlclose(handle); }
    Loaded(const Loaded&) = delete;
    Loaded& operator=(const Loaded&) = delete;

  private:
    void* const handle;
};

TEST(IpInterfaceWatcherTest, WithoutItsLibraryOrExportsItStartsNothing) {
    const auto startsNothing = [] {
        const auto watcher = MakeConnectionWatcher();
        EXPECT_FALSE(watcher->Start([](NotificationType) {}));
        watcher->Stop();
    };
    startsNothing();
    const Loaded library("no_interfaces");
    startsNothing();
}

TEST(IpInterfaceWatcherTest, HandsOnWhatComesAndGoes) {
    const Loaded library("interfaces");
    std::vector<NotificationType> heard;
    const auto listen = [&heard](NotificationType type) { heard.push_back(type); };
    auto watcher = MakeConnectionWatcher();
    watcher->Stop();
    EXPECT_THAT(interfaces.Take(), IsEmpty());
    ASSERT_TRUE(watcher->Start(listen));
    for (const auto type : {ParameterNotification, AddInstance, DeleteInstance, InitialNotification})
        interfaces.Tell(type);
    EXPECT_THAT(heard, ElementsAre(AddInstance, DeleteInstance));
    ASSERT_TRUE(watcher->Start(listen));
    EXPECT_THAT(interfaces.Take(), ElementsAre("1 for family 0", "no more 1", "2 for family 0"));
    watcher->Stop();
    interfaces.Tell(AddInstance);
    interfaces.callback(nullptr, nullptr, AddInstance);
    EXPECT_EQ(heard.size(), 2U);
    watcher->Stop();
    EXPECT_THAT(interfaces.Take(), ElementsAre("no more 2"));

    interfaces.answer = 5;
    EXPECT_FALSE(watcher->Start(listen));
    interfaces.answer = 0;
    ASSERT_TRUE(watcher->Start(listen));
    watcher.reset();
    EXPECT_THAT(interfaces.Take(), ElementsAre("refused", "3 for family 0", "no more 3"));
}

}  // namespace
}  // namespace orrery::test

extern "C" {
using orrery::test::interfaces;

__attribute__((visibility("default"))) uint32_t orrery_test_notify(uint16_t family,
                                                                   orrery::IpInterfaceChangeCallback callback,
                                                                   void* context, bool initial,
                                                                   void** handle) {
    if (interfaces.answer != 0) {
        interfaces.calls.push_back("refused");
        return interfaces.answer;
    }
    interfaces.callback = callback;
    interfaces.context = context;
    const int number = ++interfaces.registrations;
    *handle = reinterpret_cast<void*>(static_cast<intptr_t>(number));
    interfaces.calls.push_back(std::to_string(number) + " for family " + std::to_string(family) +
                               (initial ? ", the present ones too" : ""));
    return 0;
}
__attribute__((visibility("default"))) uint32_t orrery_test_cancel(void* handle) {
    interfaces.calls.push_back("no more " + std::to_string(reinterpret_cast<intptr_t>(handle)));
    return 0;
}
}
