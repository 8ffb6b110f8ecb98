// The HTTP transport, played by a test: it writes down what it is told and answers as the test says. One
// object plays the transport, its connections, clients and trust stores, which have no state here; lists and
// entries hold what they are given. The library "services" hands it out in place of "Utils/Wirelink". The
// knobs are set while no request is under way; the rest is safe from any thread.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <functional>
#include <optional>

#include "contracts/wirelink.h"
#include "standins/wirelink/proxy/proxy_setting.h"
#include "support/call_log.h"
#include "support/test_environment.h"

namespace orrery::test {

// Of a data service. Without a tag the one that was asked with comes back.
struct DataAnswer {
    bool given = false;
    uint32_t status = 0;
    std::optional<WideString> tag = {};
    std::string data = {};
};

struct WirelinkKnobs {
    bool isThere = true;         // else there is no transport
    bool connects = true;        // else there are no connections
    bool makesOthers = true;     // else there are no lists, entries, stores and clients
    uint32_t sendResult = 0;     // of a signed request and of a download; on 0 `proxyUsed` was used
    uint32_t receiveResult = 0;  // on 0 all of `reply` is received
    bool takes = true;           // what a service is given, data aside
    TransportResponse reply{.size = transportResponseSize, .status = 200, .date = {}};
    wirelink::ProxyValues proxyUsed = {};
    std::deque<DataAnswer> answers = {};   // then failures without a status
    std::function<void()> onRequest = {};  // while a request is under way, no download
    std::function<void()> onProxyAsked = {};
};

struct FakeWirelink : CallLog {
    static FakeWirelink& Get();
    IWirelink& Transport();

    WirelinkKnobs knobs;
    std::atomic<IProxyUsedObserver*> observer{nullptr};
    std::atomic<int> held{0};  // objects given out and not given back, and uses of the transport
};

// "explicit p:1 user password fallback"; what isn't set is left out.
std::string Describe(const IProxySetting* entry);
// Its entries, in order, with commas between them.
std::string Describe(IProxyList& list);

// The surroundings with this transport, and a registered device that has its credentials.
struct WirelinkTest : testing::Test {
    WirelinkTest();
    ~WirelinkTest() override { EXPECT_EQ(wire.held, 0); }

    TestEnvironment& environment = TestEnvironment::Get();
    FakeConfigUtil& config = environment.config;
    FakeWirelink& wire = FakeWirelink::Get();
};

}  // namespace orrery::test
