#include "foundation/json/library_tree.h"

#include <cstring>
#include <new>

namespace orrery {

namespace {

// Called from C code, which takes null for memory that ran out.
void* Allocate(size_t size, int zeroed, void* memory) try {
    void* const piece = static_cast<std::pmr::monotonic_buffer_resource*>(memory)->allocate(size);
    return zeroed ? std::memset(piece, 0, size) : piece;
} catch (const std::bad_alloc&) {
    return nullptr;
}

// Every piece goes with its block.
void KeepUntilTheEnd(void*, void*) {}

}  // namespace

LibraryTree::LibraryTree(const std::string& text) {
    json_settings settings{};
    settings.mem_alloc = Allocate;
    settings.mem_free = KeepUntilTheEnd;
    settings.user_data = &memory;
    root = json_parse_ex(&settings, text.c_str(), text.size(), nullptr);
}

}  // namespace orrery
