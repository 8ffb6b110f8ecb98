#include "standins/eventgate/eventgate.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "platform/error_codes.h"
#include "platform/files.h"
#include "platform/library.h"

namespace orrery::eventgate {
namespace {

// Keeps what it was given, each text ended by the flag; `onEvent` runs first.
class Receiver final : public IEventReceiver {
  public:
    void OnEvent(const CMessageObject& event, bool flag) override {
        if (onEvent) onEvent();
        std::string text;
        event.SerializeUtf8(text);
        received.push_back(text + (flag ? "1" : "0"));
    }

    std::function<void()> onEvent;
    std::vector<std::string> received;  // of the delivering thread; read after the gate is gone
};

TEST(EventgateTest, KeepsOrderWaitsForAReceiverAndDrains) {
    Receiver receiver;
    auto gate = std::make_unique<Eventgate>();
    int calls = 0;
    receiver.onEvent = [&calls, &target = *gate] {
        if (++calls == 2) throw std::runtime_error("costs this event only");
        if (calls == 4) target.SetReceiver(nullptr);  // from its own call: doesn't wait
    };
    EXPECT_EQ(gate->Dispatch(u"{\"A\":{}}", true), Success);
    EXPECT_EQ(gate->Dispatch(u"{\"bad\":1}", true), InvalidParameter);
    gate->SetReceiver(&receiver);
    EXPECT_EQ(gate->Dispatch(u"[{\"B\":{}},{\"C\":{}}]", false), Success);
    EXPECT_EQ(gate->Dispatch(u"\"D\":{}", true), Success);
    EXPECT_EQ(gate->Dispatch(u"\"E\":{}", true), Success);
    gate.reset();
    EXPECT_EQ(receiver.received, (std::vector<std::string>{"{\"A\":{}}1", "{\"C\":{}}0", "{\"D\":{}}1"}));
}

TEST(EventgateTest, RemovalWaitsForTheCallInFlight) {
    Eventgate gate;
    Receiver receiver;
    std::promise<void> begun;
    std::promise<void> removing;
    std::atomic<bool> returned = false;
    receiver.onEvent = [&] {
        begun.set_value();
        removing.get_future().wait();
        for (int turn = 0; turn < 1000; ++turn) std::this_thread::yield();
        returned = true;
    };
    gate.SetReceiver(&receiver);
    gate.Dispatch(u"[{\"A\":{}},{\"B\":{}}]", false);
    begun.get_future().wait();
    removing.set_value();
    gate.SetReceiver(nullptr);
    EXPECT_TRUE(returned);
    EXPECT_EQ(receiver.received.size(), 1u);
}

TEST(EventgateTest, FullQueueTakesNothingOfWhatDoesNotFit) {
    WideString almostAll = u"[";
    for (size_t event = 1; event < Eventgate::maxQueuedEvents; ++event) almostAll += u"{\"E\":{}},";
    almostAll.back() = u']';
    Eventgate gate;
    EXPECT_EQ(gate.Dispatch(almostAll, false), Success);
    EXPECT_EQ(gate.Dispatch(u"[{\"E\":{}},{\"E\":{}}]", false), NotEnoughMemory);
    EXPECT_EQ(gate.Dispatch(u"{\"E\":{}}", false), Success);
    EXPECT_EQ(gate.Dispatch(u"{\"E\":{}}", false), NotEnoughMemory);
}

TEST(EventgateTest, ModuleDrainsWithItsLastUser) {
    const auto library = platform::OpenLibrary(platform::WidePath(MODULE_FOLDER), u"Eventgate.dll");
    ASSERT_TRUE(library) << platform::LastLibraryError();
    const auto get = reinterpret_cast<GetIEventgateFunction>(platform::FindExport(library, "GetIEventgate"));
    const auto free =
        reinterpret_cast<FreeIEventgateFunction>(platform::FindExport(library, "FreeIEventgate"));

    Receiver receiver;
    IEventgate* agent = get();
    IEventgate* plugin = get();
    EXPECT_EQ(agent, plugin);
    // An event delivered at the very end may come back to the library.
    receiver.onEvent = [&] {
        IEventgate* inside = get();
        free(&inside);
    };
    agent->SetReceiver(&receiver);
    free(&agent);
    EXPECT_EQ(agent, nullptr);
    EXPECT_EQ(plugin->Dispatch(u"[{\"A\":{}},{\"B\":{}}]", false), Success);
    free(&plugin);
    EXPECT_EQ(receiver.received.size(), 2u);
    EXPECT_TRUE(platform::CloseLibrary(library));
}

}  // namespace
}  // namespace orrery::eventgate
