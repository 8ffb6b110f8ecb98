// What the module finds around itself: the libraries, the settings store, the folders.
#include <gtest/gtest.h>

#include <stdexcept>

#include "foundation/libraries/loader.h"
#include "foundation/libraries/tracebox_loader.h"
#include "foundation/libraries/wirelink_loader.h"
#include "foundation/settings/config_helper.h"
#include "foundation/settings/config_reader.h"
#include "foundation/system/install_paths.h"
#include "platform/files.h"
#include "support/test_environment.h"

namespace orrery::test {
namespace {

struct Surroundings : EnvironmentTest {
    const WideString folder = platform::WidePath(environment.root.string());
};

TEST_F(Surroundings, LoaderCountsItsLoads) {
    CLoader loader(folder);
    EXPECT_TRUE(!loader.Load(u"Missing.dll", {}) && loader.Load(u"Eventgate.dll", {}));
    EXPECT_TRUE(loader.Load(u"Missing.dll", u"elsewhere")) << "only counts";
    loader.Unload();
    EXPECT_TRUE(loader.HasProc("GetIEventgate") && !loader.HasProc("GetNothing"));
    loader.Unload();
    EXPECT_FALSE(loader.HasProc("GetIEventgate")) << "what was found goes with the library";
}

TEST_F(Surroundings, TransportIsSharedButEachUserLoadsIt) {
    CWirelinkLoader first(folder + u"\\Utils"), second(folder + u"\\Utils");
    environment.Remove("Utils/Wirelink");
    EXPECT_FALSE(first.Load());
    environment.Reset();
    EXPECT_TRUE(first.Load()) << "a failed load leaves an empty loader, which goes with its last use";
    EXPECT_EQ(first.GetInterface(), nullptr);
    first.Unload();
    ASSERT_TRUE(first.Load());
    EXPECT_EQ(second.GetInterface(), nullptr) << "loaded by another";
    ASSERT_TRUE(second.Load());
    first.Unload();
    IWirelink* transport = second.GetInterface();
    EXPECT_NE(transport, nullptr);
    second.ReleaseInterface(&transport);
}

TEST_F(Surroundings, StoreThatCannotBeLoadedIsTriedAgain) {
    environment.Remove("Utils/Prefstore");
    EXPECT_THROW(CConfigReader(nullptr), std::invalid_argument);
    environment.Reset();
    EXPECT_EQ(GetConfigUtil(), &environment.config);
}

TEST_F(Surroundings, FoldersComeFromTheRegistry) {
    const std::string root = "[HKEY_LOCAL_MACHINE\\SOFTWARE\\";
    const std::string agent = root + "Zelko Security\\SetupEx\\Orrery Agent]\n\"Path\"=\"C:\\\\A\"\n";
    const std::string uninstall = root + "Microsoft\\Windows\\CurrentVersion\\Uninstall\\";
    const std::string coded = uninstall + "{1}]\n\"DisplayName\"=\"Coded\"\n";
    const std::string own = uninstall + "Zelko Orrery Agent]\n\"DisplayName\"=\"Own\"\n";
    const std::string local = "\"LProductName\"=\"L\"\n";
    const std::string code = "\"ProductCodeMSI\"=\"{1}\"\n";
    const std::pair<std::string, const char16_t*> cases[] = {
        {agent, u"Zelko Security\\Zelko Endpoint Agent\\"},
        {agent + local + code, u"Zelko Security\\L\\"},
        {agent + local + coded, u"Zelko Security\\L\\"},
        {agent + local + code + coded, u"Zelko Security\\Coded\\"},
        {agent + local + code + coded + own, u"Zelko Security\\Own\\"},
        {agent + "\"InitialProductName\"=\"P\"\n\"InitialCompanyName\"=\"C\"\n" + own, u"C\\P\\"},
    };
    for (const auto& [registry, product] : cases) {
        WideString path;
        environment.WriteRegistry(registry);
        EXPECT_TRUE(GetUtilsFolder(path) && path == u"C:\\A\\Utils\\") << registry;
        EXPECT_TRUE(GetDataFolder(path) && path.ends_with(WideString(u"Data\\") + product)) << registry;
    }
    environment.WriteRegistry("");
    WideString path;
    EXPECT_FALSE(GetUtilsFolder(path));
}

// A loader that got no library still gives up a use with its end: the count is of loaders.
TEST_F(Surroundings, LogServiceIsTriedAgainAndSharedByItsLoaders) {
    environment.Remove("Utils/Tracebox");
    EXPECT_EQ(CTraceboxLoader().GetInterface(), nullptr);
    environment.Reset();
    CTraceboxLoader first;
    {
        CTraceboxLoader second;
        ITracebox* log = second.GetInterface();
        EXPECT_NE(log, nullptr);
        second.ReleaseInterface(&log);
        EXPECT_EQ(log, nullptr);
    }
    EXPECT_NE(first.GetInterface(), nullptr) << "one use is left";
}

}  // namespace
}  // namespace orrery::test
