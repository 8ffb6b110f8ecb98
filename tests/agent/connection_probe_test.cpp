#include "agent/status/connection_probe.h"

#include <gmock/gmock.h>

#include <boost/asio/ip/tcp.hpp>

#include "platform/text.h"
#include "support/call_log.h"
#include "support/fake_config_util.h"

namespace orrery::agent {
namespace {

using boost::asio::ip::tcp;

TEST(ConnectionProbe, SeesWhetherTheConnectionOfTheConnectIsStillThere) {
    boost::asio::io_context context;
    for (const char* loopback : {"127.0.0.1", "::1"}) {
        tcp::acceptor server(context, {boost::asio::ip::make_address(loopback), 0});
        test::FakeConfigUtil store;
        store.Set(u"Communications.Method_CommandHub.Hostname",
                  u"hub:" + ToWide(std::to_string(server.local_endpoint().port())));
        ConnectionProbe probe(store);
        tcp::socket channel(context), other(context);
        channel.connect(server.local_endpoint());
        EXPECT_EQ(probe.IsUp(), std::nullopt) << "no connect was noted";
        probe.NoteConnect();
        other.connect(server.local_endpoint());
        EXPECT_EQ(probe.IsUp(), true);
        server.accept().close();
        EXPECT_TRUE(test::Eventually([&] { return probe.IsUp() == false; })) << "the other doesn't count";
    }
}

}  // namespace
}  // namespace orrery::agent
