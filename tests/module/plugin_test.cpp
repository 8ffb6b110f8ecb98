#include <gtest/gtest.h>

#include <cstdio>

#include "contracts/plugin.h"
#include "foundation/json/message_object.h"
#include "platform/error_codes.h"
#include "platform/files.h"
#include "platform/library.h"
#include "support/test_environment.h"

namespace orrery::test {
namespace {

struct Plugin : testing::Test {
    Plugin() {
        environment.Reset();
        const auto module = platform::OpenLibrary({}, platform::WidePath(MODULE_FILE));
        get = reinterpret_cast<GetIPluginFunction>(platform::FindExport(module, "GetIPlugin"));
        release = reinterpret_cast<FreeIPluginFunction>(platform::FindExport(module, "FreeIPlugin"));
    }
    ~Plugin() override {
        EXPECT_EQ(environment.tracebox.uses + environment.eventgate.uses, 0);
        EXPECT_EQ(environment.config.Subscriptions(), 0U);
    }

    static IPluginInterface* Interface(IPluginV1* container) {
        IPluginInterface* plugin = nullptr;
        EXPECT_EQ(container->QueryInterface(container->GetPluginGuid(), &plugin), 0U);
        return plugin;
    }
    static uint32_t Execute(IPluginInterface* plugin, const char16_t* name) {
        return plugin->ExecuteEvent(CMessageObject(name));
    }
    // The manager listens to four sections of the store exactly while it is started, the two clients of the
    // polled provider to one each as long as they live.
    bool IsStarted() const { return environment.config.Subscriptions() > 2; }

    TestEnvironment& environment = TestEnvironment::Get();
    GetIPluginFunction get = nullptr;
    FreeIPluginFunction release = nullptr;
};

TEST_F(Plugin, ModuleShowsItsTwoExportsAndNothingElse) {
    std::FILE* const names = ::popen("nm -D --defined-only -j " MODULE_FILE, "r");
    char text[256] = {};
    const size_t size = std::fread(text, 1, sizeof text - 1, names);
    EXPECT_EQ(::pclose(names), 0);
    EXPECT_EQ(std::string(text, size), "FreeIPlugin\nGetIPlugin\n");
}

TEST_F(Plugin, ContainerIsCountedAndAnswersToItsGuid) {
    environment.Remove("Utils/Tracebox");  // not needed
    IPluginV1* const container = get();
    EXPECT_EQ(get(), container);
    release(nullptr);
    release(reinterpret_cast<IPluginV1*>(this));
    release(container);
    IPluginInterface* const first = Interface(container);
    IPluginInterface* second = first;
    EXPECT_EQ(container->QueryInterface(u"", &second), InvalidParameter);
    EXPECT_EQ(container->QueryInterface(container->GetPluginGuid(), nullptr), InvalidParameter);
    EXPECT_EQ(container->QueryInterface(u"9CA356EF-B66E-421E-B61A-D6310C668B66", &second), NotFound);
    EXPECT_EQ(second, first);
    second = Interface(container);
    EXPECT_EQ(second->Release(), 0U);
    EXPECT_EQ(Execute(first, u""), InvalidParameter);
    release(container);
    first->Release();
}

TEST_F(Plugin, SwitchEventsDriveTheManagerAndAlwaysSucceed) {
    IPluginV1* const container = get();
    IPluginInterface* const plugin = Interface(container);
    const struct {
        const char16_t* event;
        bool started;
        size_t binds;  // of a stop that isn't silent
    } steps[] = {{u"RealtimeDisable", false, 0}, {u"RealtimeClear", true, 0},
                 {u"RealtimeEnable", true, 0},   {u"RealtimeClear", true, 1},
                 {u"RealtimeDisable", false, 1}, {u"RealtimeEnable", true, 0}};
    for (const auto& step : steps) {
        const std::vector<RecordingEventgate::Event> binds(step.binds, {"{\"DeviceBind\":{}}", false});
        EXPECT_EQ(Execute(plugin, step.event), 0U);
        EXPECT_EQ(IsStarted(), step.started) << ToUtf8(step.event);
        EXPECT_EQ(environment.eventgate.Take(), binds) << ToUtf8(step.event);
    }
    plugin->Stop();
    EXPECT_EQ(plugin->Start() + Execute(plugin, u"RealtimeEnable"), 0U);
    EXPECT_FALSE(IsStarted()) << "what was stopped stays so";
    EXPECT_TRUE(environment.eventgate.Take().empty()) << "the host's stop is silent";
    plugin->Release();
    release(container);
}

TEST_F(Plugin, ComesAndGoesManyTimes) {
    for (int round = 0; round < 50; ++round) {
        IPluginV1* const container = get();
        IPluginInterface* const plugin = Interface(container);
        EXPECT_EQ(WideView(plugin->GetEventHandlerString()),
                  u"DeviceBind;NotificationCheck;RealtimeClear;RealtimeDisable;RealtimeEnable");
        EXPECT_TRUE(plugin->Start() == 0 && IsStarted());
        if (round % 2 == 0) plugin->Stop();  // a host may forget it
        plugin->Release();
        release(container);
        EXPECT_EQ(environment.config.Subscriptions(), 0U);
    }
}

}  // namespace
}  // namespace orrery::test
