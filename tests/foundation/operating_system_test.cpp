#include "foundation/system/operating_system.h"

#include <gtest/gtest.h>

#include "platform/text.h"
#include "support/fake_system.h"

namespace orrery {
namespace {

using test::FakeSystem;
using test::Machine;

TEST(OperatingSystem, FamilyFollowsVersionKindAndBuild) {
    constexpr bool server = true, workstation = false;
    constexpr uint32_t multiSession = 175;
    const Machine machines[] = {
        {5, 0, workstation, u"2195", 0, 0},
        {5, 2, workstation, u"3790", 0, 1},
        {5, 2, server, u"3790", 0, 2},
        {6, 0, workstation, u"6002", 0, 3},
        {6, 0, server, u"6002", 0, 4},
        {6, 1, server, u"7601", 0, 6},
        {6, 1, workstation, u"7601", 0, 5},
        {6, 2, workstation, u"9200", 0, 7},
        {6, 2, server, u"9200", 0, 8},
        {6, 3, workstation, u"9600", 0, 9},
        {6, 3, server, u"9600", 0, 10},
        {10, 0, workstation, u"21999", 0, 11},
        {10, 0, workstation, u"22000", 0, 14},
        {10, 0, server, u"17757", 0, 12},
        {10, 0, server, u"17758", 0, 13},
        {10, 0, server, u"20348", 0, 15},
        {10, 0, server, u"26100", 0, 16},
        {10, 0, server, u"17757", multiSession, 12},
        {10, 0, server, u"17758", multiSession, 11},
        {10, 0, server, u"20348", multiSession, 14},
        {11, 2, workstation, u"30000", 0, 1000},
    };
    for (const Machine& machine : machines) {
        const FakeSystem system(machine);
        const COperatingSystem known;
        const bool isServer = machine.isServer && (machine.productType == 0 || machine.family == 12);
        EXPECT_EQ(known.family(), machine.family) << ToUtf8(machine.build);
        EXPECT_EQ(known.Info().isServer, isServer) << ToUtf8(machine.build);
        const WideString number = machine.family == 14 ? u"11" : u"10";
        EXPECT_EQ(known.Info().fullName, u"System " + number + u" Pro 64 bits Version 22H2");
    }
}

}  // namespace
}  // namespace orrery
