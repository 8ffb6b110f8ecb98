// A hub with a port and a thread of its own. Its clock stands until a test lets time pass.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <utility>

#include "hub/server/hub_server.h"
#include "hub_client.h"
#include "support/call_log.h"
#include "support/test_clock.h"

namespace orrery::hub {

class RunningHub : public testing::Test {
  protected:
    explicit RunningHub(HubOptions options = {.port = 0, .keepAliveSeconds = 0}, int64_t utcSeconds = 0)
        : clock(utcSeconds),
          server(std::move(options), [](const std::string& line) { EXPECT_EQ(line.find('\n'), line.npos); }) {
    }
    ~RunningHub() override {
        server.Stop();
        EXPECT_TRUE(test::Eventually([this] { return clock.Advance(1), ended.load(); }));
        thread.join();
    }

    // The answer to a request that has to succeed.
    std::string Api(const std::string& method, const std::string& target, const std::string& body = {}) {
        EXPECT_EQ(api.Http(method, target, body), 200) << body << api.answer;
        return api.answer;
    }
    // Of requests that are refused: each with its status and words of the answer.
    struct Refusal {
        int status;
        const char* words;
        std::string method, target, body = {};
    };
    void ExpectRefused(std::initializer_list<Refusal> refusals) {
        for (const Refusal& refusal : refusals) {
            SCOPED_TRACE(refusal.method + ' ' + refusal.target + ' ' + refusal.body.substr(0, 80));
            EXPECT_EQ(api.Http(refusal.method, refusal.target, refusal.body), refusal.status);
            EXPECT_NE(api.answer.find(refusal.words), std::string::npos) << api.answer;
        }
    }

    test::TestClock clock;
    HubServer server;
    std::atomic<bool> ended{false};
    std::thread thread{[this] {
        server.Run();
        ended = true;
    }};
    HubClient api{server.Port()};
};

}  // namespace orrery::hub
