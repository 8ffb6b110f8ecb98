#include "standins/eventgate/eventgate.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>

#include "platform/error_codes.h"
#include "support/held_call.h"

namespace orrery::eventgate {

extern "C" IEventgate* GetIEventgate();
extern "C" void FreeIEventgate(IEventgate** eventgate);

namespace {

// Keeps what it was given, each text ended by the flag; `onEvent` runs first.
class Receiver final : public IEventReceiver {
  public:
    void OnEvent(const CMessageObject& event, bool flag) override {
        if (onEvent) onEvent();
        std::string text;
        event.SerializeUtf8(text);
        received += text + (flag ? "1" : "0");
    }

    std::function<void()> onEvent;
    std::string received;  // of the delivering thread; read after the gate is gone
};

TEST(EventgateTest, DocumentsAreTakenApartOrRefused) {
    const std::pair<WideString, const char*> cases[] = {
        {u" \n\"A\":{\"x\":\"}\"}", "{\"A\":{\"x\":\"}\"}}0"},
        {u"{\"B\":{},\"A\":{},\"B\":{\"x\":1}}", "{\"B\":{}}0{\"A\":{}}0{\"B\":{\"x\":1}}0"},
        {u"[{\"A\":{}},{\"B\":{},\"C\":{}}]", "{\"A\":{}}0{\"B\":{}}0{\"C\":{}}0"},
    };
    for (const auto& [text, expected] : cases) {
        Receiver receiver;
        auto gate = std::make_unique<Eventgate>();
        gate->SetReceiver(&receiver);
        EXPECT_EQ(gate->Dispatch(text, false), Success);
        gate.reset();
        EXPECT_EQ(receiver.received, expected);
    }
    for (const char16_t* text : {u"[{\"A\":{}},{\"B\":1}]", u"[{\"A\":{}},1]", u"[]", u"{}", u"{\"\":{}}",
                                 u"", u"{\"A\":{}", u"\"A\":{}},{\"B\":{}"}) {
        EXPECT_EQ(Eventgate().Dispatch(text, false), InvalidParameter);
    }
}

TEST(EventgateTest, KeepsOrderWaitsForAReceiverAndDrains) {
    Receiver receiver;
    auto gate = std::make_unique<Eventgate>();
    int calls = 0;
    receiver.onEvent = [&calls, &target = *gate] {
        if (++calls == 2) throw std::runtime_error("costs this event only");
        if (calls == 4) target.SetReceiver(nullptr);  // from its own call: doesn't wait
    };
    EXPECT_EQ(gate->Dispatch(u"{\"A\":{}}", true), Success);
    gate->SetReceiver(&receiver);
    EXPECT_EQ(gate->Dispatch(u"[{\"B\":{}},{\"C\":{}}]", false), Success);
    EXPECT_EQ(gate->Dispatch(u"\"D\":{}", true), Success);
    EXPECT_EQ(gate->Dispatch(u"\"E\":{}", true), Success);
    gate.reset();
    EXPECT_EQ(receiver.received, "{\"A\":{}}1{\"C\":{}}0{\"D\":{}}1");
}

TEST(EventgateTest, RemovalWaitsForTheCallInFlight) {
    test::HeldCall call;
    Receiver receiver;
    receiver.onEvent = [&] { call.Stay(); };
    Eventgate gate;
    gate.SetReceiver(&receiver);
    gate.Dispatch(u"[{\"A\":{}},{\"B\":{}}]", false);
    EXPECT_TRUE(call.IsAwaitedBy([&] { gate.SetReceiver(nullptr); }));
    EXPECT_EQ(receiver.received, "{\"A\":{}}0");
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

TEST(EventgateTest, DrainsWithItsLastUser) {
    Receiver receiver;
    // An event delivered at the very end may come back to the library.
    receiver.onEvent = [&] {
        IEventgate* inside = GetIEventgate();
        FreeIEventgate(&inside);
    };
    IEventgate* agent = GetIEventgate();
    IEventgate* plugin = GetIEventgate();
    agent->SetReceiver(&receiver);
    FreeIEventgate(&agent);
    EXPECT_EQ(plugin->Dispatch(u"[{\"A\":{}},{\"B\":{}}]", false), Success);
    FreeIEventgate(&plugin);
    EXPECT_EQ(receiver.received, "{\"A\":{}}0{\"B\":{}}0");
}

}  // namespace
}  // namespace orrery::eventgate
