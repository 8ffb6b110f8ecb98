#include "platform/tracing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/temporary_folder.h"

namespace orrery::platform {
namespace {

std::string enabled;

void OnEnable(uint8_t level, uint32_t flags) {
    enabled += std::to_string(level) + "," + std::to_string(flags) + ";";
}

TEST(Tracing, RecordsAreAppendedOneLineEach) {
    TemporaryFolder folder;
    folder.Write("trace", "before\n");
    folder.SetEnvironment("ORRERY_TRACE", "5,0x3," + folder.PathOf("trace"));
    RegisterTraceProvider(&OnEnable);
    WriteTraceRecord("channel.cpp", 42, 2, "two\r\nlines");
    WriteTraceRecord("channel.cpp", 43, 2, std::string(8193, 'x'));
    UnregisterTraceProvider();
    WriteTraceRecord("channel.cpp", 44, 2, "nobody listens");
    EXPECT_EQ(enabled, "5,3;0,0;");
    EXPECT_THAT(folder.Read("trace"),
                testing::MatchesRegex("before\n....-..-..T..:..:..[.]...Z [0-9]+ 2 channel.cpp:42 "
                                      "two\\\\r\\\\nlines\n"));
}

}  // namespace
}  // namespace orrery::platform
