#include "foundation/json/library_tree.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace orrery {

namespace {

constexpr size_t largestBlock = 1024 * 1024;

// Every piece goes with its block.
void KeepUntilTheEnd(void*, void*) {}

}  // namespace

LibraryTree::LibraryTree(const std::string& text) {
    json_settings settings{};
    settings.mem_alloc = Allocate;
    settings.mem_free = KeepUntilTheEnd;
    settings.user_data = this;
    root = json_parse_ex(&settings, text.c_str(), text.size(), nullptr);
}

// Called from C code, which takes null for memory that ran out.
void* LibraryTree::Allocate(size_t size, int zeroed, void* tree) try {
    void* const piece = static_cast<LibraryTree*>(tree)->Take(size);
    return zeroed ? std::memset(piece, 0, size) : piece;
} catch (const std::bad_alloc&) {
    return nullptr;
}

void* LibraryTree::Take(size_t size) {
    constexpr size_t alignment = alignof(json_value);  // no piece holds more
    const size_t whole = (size + alignment - 1) / alignment * alignment;
    if (whole > left) {
        if (whole > blockSize / 8) return AddBlock(whole);  // the rest of the last block stays in use
        next = AddBlock(blockSize);
        left = blockSize;
        blockSize = std::min(2 * blockSize, largestBlock);
    }
    left -= whole;
    return std::exchange(next, next + whole);
}

std::byte* LibraryTree::AddBlock(size_t size) {
    return blocks.emplace_back(std::make_unique_for_overwrite<std::byte[]>(size)).get();
}

}  // namespace orrery
