// Waits for what other threads bring about. It tells nothing about what never happens.
#pragma once

#include <chrono>
#include <thread>

namespace orrery::test {

// False if the condition doesn't come true within 20 seconds.
template <class Condition>
bool Eventually(Condition&& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace orrery::test
