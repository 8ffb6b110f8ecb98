#include <gtest/gtest.h>

#include <thread>

#include "platform/call_gate.h"
#include "platform/crypto.h"
#include "platform/event.h"
#include "support/held_call.h"

namespace orrery::platform {
namespace {

TEST(CallGate, CloseWaitsForTheCallsOfOthersAndLetsNoneIn) {
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

TEST(Event, TheLowestSignalledIndexWinsUntilReset) {
    constexpr uint64_t generous = 60'000, endless = UINT64_MAX;
    Event first, second, third;
    Event* const all[] = {&first, &second, &third};
    EXPECT_EQ(WaitForAny(all, 0), WaitTimeout);
    third.Set();
    second.Set();
    second.Set();
    EXPECT_EQ(WaitForAny(all, generous), 1);
    EXPECT_EQ(WaitForAny(all, endless), 1);
    second.Reset();
    EXPECT_FALSE(second.IsSet());
    EXPECT_EQ(WaitForAny(all, generous), 2);
    third.Reset();
    third.Reset();
    EXPECT_EQ(WaitForAny(all, 1), WaitTimeout);
    EXPECT_EQ(WaitForAny({}, endless), WaitFailed) << "instead of hanging";
}

TEST(Base64, EachPaddingShortensItsGroup) {
    const std::string_view refused = "refused";
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"TWFu", "Man"},  {"TWE=TQ==TWFu", "MaMMan"}, {"====", ""},
        {"=WFu", "\1a"},  {"+/+/", "\xFB\xFF\xBF"},   {"", refused},
        {"TWF", refused}, {"TWFu\n\n\n\n", refused},
    };
    for (const auto& [text, expected] : cases) {
        std::string bytes(refused);
        EXPECT_EQ(DecodeBase64(text, bytes), expected != refused) << text;
        EXPECT_EQ(bytes, expected) << text;
    }
}

}  // namespace
}  // namespace orrery::platform
