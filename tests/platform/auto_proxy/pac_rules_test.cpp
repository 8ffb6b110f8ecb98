#include <gmock/gmock.h>

#include "platform/linux/auto_proxy/pac_answer.h"
#include "platform/linux/auto_proxy/wpad_hosts.h"

namespace orrery::platform {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char failure[] = "(failure)";

struct AnswerCase {
    const char* name;
    std::string answer;
    std::string proxy;
};

class PacAnswer : public testing::TestWithParam<AnswerCase> {};

TEST_P(PacAnswer, GivesFirstUsableProxy) {
    std::string proxy = failure;
    EXPECT_EQ(ReadPacAnswer(GetParam().answer, proxy), GetParam().proxy != failure);
    EXPECT_EQ(proxy, GetParam().proxy);
}

INSTANTIATE_TEST_SUITE_P(
    Table, PacAnswer,
    testing::Values(
        AnswerCase{"OneProxy", "PROXY a:1", "a:1"},
        AnswerCase{"FirstOfSeveral", "PROXY a:1; PROXY b:2; DIRECT", "a:1"},
        AnswerCase{"AnyCaseAndSpace", " ;\tproxy \t a:1 \r\n;DIRECT", "a:1"},
        AnswerCase{"HttpKeyword", "HTTP a:1", "a:1"}, AnswerCase{"TlsKeyword", "Https a:1", "https://a:1"},
        AnswerCase{"Ipv6Address", "PROXY [::1]:3128", "[::1]:3128"}, AnswerCase{"Direct", "DIRECT", ""},
        AnswerCase{"DirectBeforeProxy", "direct;PROXY a:1", ""},
        AnswerCase{"SocksIsPassedOver", "SOCKS s:1; SOCKS5 t:2; PROXY a:1", "a:1"},
        AnswerCase{"OnlySocks", "SOCKS s:1", ""},
        AnswerCase{"MalformedArePassedOver", "PROXY; PROXY a 1; DIRECT x; PROXYb:2; PROXY c:3", "c:3"},
        AnswerCase{"NotAscii", "PROXY \xC3\xA4:1", failure}, AnswerCase{"Empty", "", failure},
        AnswerCase{"OnlySeparators", " ; ;", failure}, AnswerCase{"Number", "42", failure},
        AnswerCase{"Undefined", "undefined", failure}, AnswerCase{"BareAddress", "a:1", failure}),
    [](const auto& tested) { return tested.param.name; });

TEST(WpadHosts, GoesFromEachSearchDomainUpToItsRegistration) {
    EXPECT_THAT(WpadHosts("nameserver 1.2.3.4\nsearch lab.corp.example. corp.example lan\n"),
                ElementsAre("wpad.lab.corp.example", "wpad.corp.example", "wpad.lan"));
    EXPECT_THAT(WpadHosts("domain x.firm.co.uk"), ElementsAre("wpad.x.firm.co.uk", "wpad.firm.co.uk"));
    EXPECT_THAT(WpadHosts("search office.firma.de"), ElementsAre("wpad.office.firma.de", "wpad.firma.de"));
}

TEST(WpadHosts, LastLineCountsAndOthersAreNoDomains) {
    EXPECT_THAT(WpadHosts("search a.example\n\tdomain\tb.example\n# search c.example\noptions search d"),
                ElementsAre("wpad.b.example"));
    EXPECT_THAT(WpadHosts("search a.example\nsearch .\n"), IsEmpty());
    EXPECT_THAT(WpadHosts("search\nnameserver 1.2.3.4"), IsEmpty());
}

}  // namespace
}  // namespace orrery::platform
