#include "platform/call_gate.h"

#include <gtest/gtest.h>

#include "support/held_call.h"

namespace orrery {
namespace {

TEST(CallGateTest, CloseWaitsForTheCallsOfOthersAndLetsNoneIn) {
    CallGate gate;
    test::HeldCall call;
    std::thread caller([&] {
        const auto visit = gate.Enter();
        call.Stay();
    });
    EXPECT_TRUE(call.IsAwaitedBy([&] { gate.Close(); }));
    EXPECT_FALSE(gate.Enter());
    caller.join();
}

TEST(CallGateTest, ACallMayCloseAndDestroyTheGateThatItIsIn) {
    auto gate = std::make_unique<CallGate>();
    const auto visit = gate->Enter();
    {
        const auto nested = gate->Enter();
        gate->AwaitOthers();
    }
    gate->Close();
    gate.reset();
}

}  // namespace
}  // namespace orrery
