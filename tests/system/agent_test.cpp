#include "system/system_test.h"

namespace orrery::system_test {
namespace {

class AgentTest : public SystemTest {};

TEST_F(AgentTest, ATraceOfFunctionsHearsThemComeAndGo) {
    const std::string verboseFunctions = "5,2,";
    StartHub();
    Install("ws://" + HubAddress());
    StartAgent({{"ORRERY_TRACE", verboseFunctions + PathOf("trace")}});
    ASSERT_TRUE(Registered());
    for (const std::string function :
         {"CRealtimeManager::Start", "WebSocketsClient::Connect", "WirelinkRequestDispatcher::Send",
          "CPluginEventHandlers::ExecuteEventHandler"}) {
        EXPECT_TRUE(Traced(function + " exit"));
        const std::string trace = folder.Read("trace");
        EXPECT_LT(trace.find(function + " enter"), trace.find(function + " exit"));
    }
}

}  // namespace
}  // namespace orrery::system_test
