// Lets allocations of the calling thread fail, to see what is left behind. The program's operator new is the
// one of failing_memory.cpp, which is one of its sources.
#pragma once

#include <cstddef>
#include <functional>

namespace orrery::test {

// Calls `act` again and again, with its first allocation failing, then its second and so on, until none is
// left to fail. `check` hears after each of these calls whether std::bad_alloc came out.
void FailEachAllocation(const std::function<void()>& act, const std::function<void(bool threw)>& check);

}  // namespace orrery::test
