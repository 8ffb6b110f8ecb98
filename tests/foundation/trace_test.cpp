#include "foundation/trace.h"

#include <gtest/gtest.h>

#include <sstream>

#include "support/temporary_folder.h"

namespace orrery {
namespace {

void Work() {
    const Trace::Scope scope("CWorker::Work");
    Trace::Error("error", u"wide", 7);
    Trace::Warning("warning", static_cast<const char*>(nullptr), static_cast<const char16_t*>(nullptr), u"");
    Trace::Information("two\nlines\r", -1);
}

// Without time, thread and place, which are of no fixed text.
std::string Told(const std::string& records) {
    std::istringstream lines(records);
    std::string told, time, thread, level, place, text;
    while (lines >> time >> thread >> level >> place && std::getline(lines, text))
        told += level + text + "\n";
    return told;
}

TEST(Trace, SessionHearsTheLevelsAndFlagsThatItAskedFor) {
    const std::string error = "2 error wide 7\n";
    const std::string general = error + "3 warning NULL NULL <NULL>\n4 two\\nlines\\r -1\n";
    const std::string enter = "5 CWorker::Work enter\n", exit = "5 CWorker::Work exit\n";
    const std::pair<const char*, std::string> cases[] = {
        {"2,1,", error}, {"4,0x1,", general}, {"0x5,2,", enter + exit}, {"5,4,", ""}, {"5;2,", ""}};
    for (const auto& [session, told] : cases) {
        TemporaryFolder folder;
        folder.SetEnvironment("ORRERY_TRACE", session + folder.PathOf("records"));
        Trace::Register();
        Work();
        Trace::Unregister();
        Work();
        EXPECT_EQ(Told(folder.Read("records")), told) << session;
    }
}

TEST(Trace, RecordsOfMoreThanEightKilobytesAreLost) {
    TemporaryFolder folder;
    folder.SetEnvironment("ORRERY_TRACE", "5,1," + folder.PathOf("records"));
    Trace::Register();
    Trace::Error("longest", std::string(8192 - sizeof("longest"), 'x'));
    Trace::Error("longer", std::string(8192 - sizeof("longer") + 1, 'x'));
    Trace::Unregister();
    const std::string told = Told(folder.Read("records"));
    EXPECT_TRUE(told.starts_with("2 longest xxx") && told.find("longer") == std::string::npos) << told;
}

}  // namespace
}  // namespace orrery
