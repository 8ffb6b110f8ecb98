#include "agent/printer.h"

#include <gmock/gmock.h>

#include <csignal>

#include "output_pipe.h"
#include "support/test_clock.h"

namespace orrery::agent {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

TEST(Printer, JsonLinesHaveTheirMembersInOrder) {
    test::TestClock clock(1'767'225'600);
    test::OutputPipe pipe;
    Printer printer(pipe.Writer(), true);
    printer.State("running");
    printer.Raised("A", "S", R"({"A":{}})");
    printer.Executed("A", "", {.code = 0x8054820D, .problem = {}});
    printer.Executed("A\xff", "", {.code = 0, .problem = "exception: \"x\""});
    const std::string time = R"({"time":"2026-01-01T00:00:00.000Z",)";
    EXPECT_THAT(
        pipe.Lines(),
        ElementsAre(time + R"("kind":"state","name":"agent","source":"","result":"running"})",
                    time + R"("kind":"raised","name":"A","source":"S","result":null,"text":"{\"A\":{}}"})",
                    time + R"("kind":"executed","name":"A","source":"","result":2153021965})",
                    HasSubstr(R"("result":"exception: \"x\""})")));
}

TEST(Printer, PlainLinesStayOneLineEach) {
    test::OutputPipe pipe;
    Printer printer(pipe.Writer(), false);
    printer.Executed("Two\nlines", "src", {.code = 5, .problem = {}});
    const auto lines = pipe.Lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_THAT(lines[0], HasSubstr("executed  Two lines             source=src  result=5"));
}

TEST(Printer, GoesOnWhenTheReaderHasGone) {
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    test::OutputPipe pipe;
    Printer printer(pipe.Writer(), true);
    pipe.CloseReader();
    for (int i = 0; i < 100; ++i) printer.Raised("A", "", std::string(10'000, 'x'));
    std::signal(SIGPIPE, before);
}

}  // namespace
}  // namespace orrery::agent
