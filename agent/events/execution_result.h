// What came of one execution of an event. A value.
#pragma once

#include <cstdint>
#include <string>

namespace orrery::agent {

struct ExecutionResult {
    uint32_t code = 0;
    std::string problem{};  // UTF-8, what went wrong instead of a result; empty: `code` counts
    bool ran = true;        // false: it never began

    std::string Text() const { return problem.empty() ? std::to_string(code) : problem; }
};

}  // namespace orrery::agent
