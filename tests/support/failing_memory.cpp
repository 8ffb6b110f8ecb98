#include "support/failing_memory.h"

#include <cstdlib>
#include <new>

namespace {

thread_local size_t allocationsLeft = 0;  // until one fails; 0: none fails

void* Allocate(size_t size) {
    if (allocationsLeft != 0 && --allocationsLeft == 0) return nullptr;
    return std::malloc(size != 0 ? size : 1);
}

}  // namespace

void* operator new(size_t size) {
    if (void* memory = Allocate(size)) return memory;
    throw std::bad_alloc();
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}

namespace orrery::test {

void FailEachAllocation(const std::function<void()>& act, const std::function<void(bool threw)>& check) {
    bool failed = true;
    for (size_t which = 1; failed; ++which) {
        bool threw = false;
        allocationsLeft = which;
        try {
            act();
        } catch (const std::bad_alloc&) {
            threw = true;
        }
        failed = allocationsLeft == 0;
        allocationsLeft = 0;
        check(threw);
    }
}

}  // namespace orrery::test
