#include "manager/ip_interface_watcher.h"

#include <dlfcn.h>
#include <gmock/gmock.h>

#include <string>
#include <vector>

#define EXPORTED extern "C" __attribute__((visibility("default")))

namespace orrery::test {
namespace {

using testing::ElementsAre;

// What the library behind the watcher was asked.
std::vector<std::string> calls;
uint32_t answer = 0;
IpInterfaceChangeCallback tell = nullptr;
void* teller = nullptr;

TEST(IpInterfaceWatcherTest, HandsOnWhatComesAndGoes) {
    std::vector<NotificationType> heard;
    const auto listen = [&heard](NotificationType type) { heard.push_back(type); };
    EXPECT_FALSE(MakeConnectionWatcher()->Start(listen)) << "there is no library";
    // Loaded, it is found by its name, as if the system had it.
    ASSERT_TRUE(::dlopen(TEST_LIBRARY_FOLDER "/interfaces.so", RTLD_NOW)) << ::dlerror();
    auto watcher = MakeConnectionWatcher();
    watcher->Stop();
    ASSERT_TRUE(watcher->Start(listen));
    for (const auto type : {ParameterNotification, AddInstance, DeleteInstance, InitialNotification})
        tell(teller, nullptr, type);
    EXPECT_THAT(heard, ElementsAre(AddInstance, DeleteInstance));
    ASSERT_TRUE(watcher->Start(listen));
    watcher->Stop();
    tell(teller, nullptr, AddInstance);
    EXPECT_EQ(heard.size(), 2U);
    answer = 5;
    EXPECT_FALSE(watcher->Start(listen));
    answer = 0;
    ASSERT_TRUE(watcher->Start(listen));
    watcher.reset();
    EXPECT_THAT(calls, ElementsAre("notify 0 0", "cancel", "notify 0 0", "cancel", "notify 0 0", "notify 0 0",
                                   "cancel"));
}

}  // namespace

EXPORTED uint32_t orrery_test_notify(uint16_t family, IpInterfaceChangeCallback callback, void* context,
                                     bool initial, void** handle) {
    calls.push_back("notify " + std::to_string(family) + " " + std::to_string(initial));
    tell = callback;
    teller = context;
    if (answer == 0) *handle = &calls;
    return answer;
}
EXPORTED uint32_t orrery_test_cancel(void* handle) {
    calls.push_back(handle == &calls ? "cancel" : "cancel what never was");
    return 0;
}

}  // namespace orrery::test
