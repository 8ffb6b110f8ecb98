#include <gtest/gtest.h>

#include <cstdio>
#include <thread>

#include "contracts/plugin.h"
#include "foundation/json/message_object.h"
#include "platform/error_codes.h"
#include "platform/files.h"
#include "platform/library.h"
#include "support/failing_memory.h"
#include "support/test_environment.h"

namespace orrery::test {
namespace {

struct Plugin : WirelinkTest {
    Plugin() {
        const auto module = platform::OpenLibrary({}, platform::WidePath(MODULE_FILE));
        get = reinterpret_cast<GetIPluginFunction>(platform::FindExport(module, "GetIPlugin"));
        release = reinterpret_cast<FreeIPluginFunction>(platform::FindExport(module, "FreeIPlugin"));
    }
    ~Plugin() override { ExpectNothingHeld(); }
    void ExpectNothingHeld() const {
        EXPECT_EQ(environment.tracebox.uses + environment.eventgate.uses + wire.uses, 0);
        EXPECT_EQ(config.subscriptions, 0U);
        EXPECT_EQ(wire.observer, nullptr);
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
    bool IsStarted() const { return config.subscriptions > 2; }

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
    EXPECT_EQ(container->QueryInterface(u"9CA356EF-B66E-421E-B61A-D6310C668B66", &second), NotFound);
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
    for (const auto& [event, started, binds] : steps) {
        EXPECT_EQ(Execute(plugin, event), 0U);
        EXPECT_EQ(IsStarted(), started) << ToUtf8(event);
        EXPECT_EQ(environment.eventgate.Take().size(), binds) << ToUtf8(event);
    }
    plugin->Stop();
    EXPECT_TRUE(environment.eventgate.Take().empty()) << "the host's stop is silent";
    EXPECT_FALSE(IsStarted());
    plugin->Release();
    release(container);
}

TEST_F(Plugin, ARunningEventKeepsWhatItNeedsAfterTheLastFree) {
    IPluginV1* const container = get();
    IPluginInterface* const plugin = Interface(container);
    wire.knobs.answers = {{.given = true, .status = 200}};
    // The host ends the plug-in on a thread of its own, while the poll waits for its answer.
    wire.knobs.onRequest = [&] {
        std::thread([&] {
            plugin->Stop();
            release(container);
        }).join();
        EXPECT_NE(wire.observer, nullptr) << "the context";
        EXPECT_EQ(environment.tracebox.uses, 1) << "the log service";
        EXPECT_EQ(Execute(plugin, u"NotificationCheck"), InvalidParameter) << "no other event comes in";
    };
    EXPECT_EQ(Execute(plugin, u"NotificationCheck"), 0U);
    EXPECT_EQ(environment.eventgate.Take().size(), 1U) << "what waits is told";
    ExpectNothingHeld();

    IPluginV1* const second = get();
    IPluginV1* third = nullptr;
    wire.knobs.onRequest = [&] {
        std::thread([&] {
            release(second);
            third = get();
        }).join();
    };
    Execute(plugin, u"NotificationCheck");
    EXPECT_NE(wire.observer, nullptr) << "the end of the old context leaves the new one's observation";
    release(third);
    plugin->Release();
}

TEST_F(Plugin, WithoutTransportOrAfterTheStopEventsHaveNothingToDo) {
    for (const char* transport : {"null_objects", "services"}) {
        environment.Replace("Utils/Wirelink", transport);
        IPluginV1* const container = get();
        IPluginInterface* const plugin = Interface(container);
        EXPECT_EQ(plugin->Start(), 0U);
        if (transport == std::string("services")) plugin->Stop();
        for (const char16_t* event :
             {u"DeviceBind", u"NotificationCheck", u"RealtimeClear", u"RealtimeEnable", u"RealtimeDisable"})
            EXPECT_EQ(Execute(plugin, event), 0U) << ToUtf8(event);
        EXPECT_TRUE(environment.eventgate.Take().empty());
        EXPECT_TRUE(environment.tracebox.Take().empty());
        plugin->Stop();
        plugin->Release();
        release(container);
    }
}

TEST_F(Plugin, WithoutMemoryNothingStaysAndStartTellsNothing) {
    IPluginV1* container = nullptr;
    bool wasWithoutLog = false;
    FailEachAllocation([&] { container = get(); },
                       [&](bool threw) {
                           EXPECT_FALSE(threw && container);
                           wasWithoutLog |= container && environment.tracebox.uses == 0;
                           if (container) release(std::exchange(container, nullptr));
                           ExpectNothingHeld();
                       });
    EXPECT_TRUE(wasWithoutLog) << "that is no reason to give up";
    container = get();
    const WideString guid = container->GetPluginGuid();
    IPluginInterface* plugin = nullptr;
    const auto start = [&] {
        EXPECT_EQ(container->QueryInterface(guid, &plugin), 0U);
        if (plugin) plugin->GetEventHandlerString();
        EXPECT_EQ(plugin ? plugin->Start() : 0U, 0U);
    };
    FailEachAllocation(start, [&](bool threw) {
        EXPECT_FALSE(threw);
        if (plugin) Execute(plugin, u"RealtimeDisable"), plugin->Release();
    });
    release(container);
}

TEST_F(Plugin, ItsObjectActsOnWhatIsThereAndOutlivesIt) {
    IPluginV1* container = get();
    IPluginInterface* const plugin = Interface(container);
    for (int round = 0; round < 4; ++round) {
        EXPECT_EQ(WideView(plugin->GetEventHandlerString()),
                  u"DeviceBind;NotificationCheck;RealtimeClear;RealtimeDisable;RealtimeEnable");
        EXPECT_TRUE(plugin->Start() == 0 && IsStarted());
        if (round % 2 == 0) plugin->Stop();  // a host may forget it
        release(container);
        ExpectNothingHeld();
        EXPECT_EQ(WideView(plugin->GetEventHandlerString()), u"");
        EXPECT_EQ(plugin->Start(), 0U);
        EXPECT_EQ(Execute(plugin, u"RealtimeEnable"), InvalidParameter) << "nobody takes it";
        plugin->Stop();
        container = get();
    }
    release(container);
    EXPECT_EQ(plugin->Release(), 0U);
}

}  // namespace
}  // namespace orrery::test
