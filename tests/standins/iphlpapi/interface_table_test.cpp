#include "standins/iphlpapi/interface_table.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <string>
#include <vector>

namespace orrery::iphlpapi {
namespace {

using Kind = InterfaceChange::Kind;

// "+2/4" for an interface 2 that gained IPv4, "-" lost, "~" changed.
std::string TextOf(const std::vector<Notification>& notifications) {
    std::string text;
    for (const Notification& notification : notifications) {
        text += "~+-"[notification.type] + std::to_string(notification.row.interfaceIndex);
        text += notification.row.family == AF_INET ? "/4 " : "/6 ";
    }
    return text;
}

InterfaceAddress Ip4(uint32_t interfaceIndex, const char* address) {
    return {AF_INET, interfaceIndex, address};
}
InterfaceAddress Ip6(uint32_t interfaceIndex, const char* address) {
    return {AF_INET6, interfaceIndex, address};
}

struct TableCase {
    const char* name;
    std::vector<InterfaceAddress> before;
    std::vector<InterfaceChange> changes;
    std::string expected;
};

class InterfaceTableTest : public testing::TestWithParam<TableCase> {};

TEST_P(InterfaceTableTest, TellsWhatChangesMean) {
    InterfaceTable table;
    table.Replace(GetParam().before);
    std::string text;
    for (const InterfaceChange& change : GetParam().changes) text += TextOf(table.Apply(change));
    EXPECT_EQ(text, GetParam().expected);
}

const TableCase tableCases[] = {
    {"FirstAndLastAddressOfAFamily",
     {},
     {{Kind::AddressAdded, Ip4(2, "a")},
      {Kind::AddressAdded, Ip6(2, "a")},
      {Kind::AddressAdded, Ip4(2, "b")},
      {Kind::AddressRemoved, Ip4(2, "a")},
      {Kind::AddressRemoved, Ip4(2, "b")}},
     "+2/4 +2/6 ~2/4 ~2/4 -2/4 "},
    {"SameAddressAgain",
     {Ip4(2, "a")},
     {{Kind::AddressAdded, Ip4(2, "a")}, {Kind::AddressRemoved, Ip4(2, "a")}},
     "~2/4 -2/4 "},
    {"LinkWithoutAddress", {}, {{Kind::LinkChanged, Ip4(2, "")}, {Kind::LinkRemoved, Ip4(2, "")}}, ""},
    {"LinkGoesBeforeItsAddresses",
     {Ip4(2, "a"), Ip6(2, "a"), Ip6(2, "b")},
     {{Kind::LinkChanged, {0, 2, ""}}, {Kind::LinkRemoved, {0, 2, ""}}, {Kind::AddressRemoved, Ip6(2, "a")}},
     "~2/4 ~2/6 -2/4 -2/6 "},
};

INSTANTIATE_TEST_SUITE_P(, InterfaceTableTest, testing::ValuesIn(tableCases),
                         [](const auto& entry) { return std::string(entry.param.name); });

TEST(InterfaceTableListing, ComparesWithWhatWasKnown) {
    InterfaceTable table;
    table.Replace({Ip4(1, "same"), Ip4(2, "gone"), Ip4(3, "old"), Ip6(3, "same")});
    EXPECT_EQ(TextOf(table.Replace({Ip6(3, "same"), Ip4(3, "new"), Ip4(1, "same"), Ip6(4, "new")})),
              "-2/4 ~3/4 +4/6 ");
    EXPECT_EQ(TextOf(table.Apply({Kind::AddressRemoved, Ip4(3, "new")})), "-3/4 ");
}

}  // namespace
}  // namespace orrery::iphlpapi
