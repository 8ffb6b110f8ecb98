#include "system/system_test.h"

namespace orrery::system_test {
namespace {

class TracesTest : public SystemTest {};

TEST_F(TracesTest, ASessionForFunctionsHearsThemComeAndGo) {
    const std::string verboseFunctions = "5,2,";
    StartHub();
    Install("ws://" + HubAddress());
    StartAgent({{"ORRERY_TRACE", verboseFunctions + PathOf("trace")}});
    ASSERT_TRUE(Registered());
    for (const char* function :
         {"CRealtimeManager::Start", "WebSocketsClient::Connect", "WirelinkRequestDispatcher::Send",
          "CPluginEventHandlers::ExecuteEventHandler"}) {
        EXPECT_TRUE(Eventually([&] {
            const std::string trace = folder.Read("trace");
            return trace.find(std::string(function) + " enter") < trace.find(std::string(function) + " exit");
        })) << function;
    }
}

}  // namespace
}  // namespace orrery::system_test
