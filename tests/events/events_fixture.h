// What the tests of the ways out for events share: the dispatcher over a library that writes down what it
// gets.
#pragma once

#include <gtest/gtest.h>

#include "events/dispatcher_helper.h"
#include "support/test_environment.h"

namespace orrery::test {

using Events = std::vector<RecordingEventgate::Event>;

inline CMessageObject Parsed(const std::string& text) {
    CMessageObject object;
    EXPECT_TRUE(object.Parse(text)) << text;
    return object;
}

struct EventsTest : testing::Test {
    EventsTest() { environment.Reset(); }

    TestEnvironment& environment = TestEnvironment::Get();
    CDispatcherHelper dispatcher;
};

}  // namespace orrery::test
