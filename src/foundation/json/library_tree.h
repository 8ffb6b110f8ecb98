// The tree that the library makes of a text, with the memory under it: the library asks for one small piece
// after the other, all of which live equally long. They come out of a few blocks, which go together with this
// object. Belongs to the thread that parses.
#pragma once

#include <json-parser/json.h>

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace orrery {

class LibraryTree {
  public:
    explicit LibraryTree(const std::string& text);
    LibraryTree(const LibraryTree&) = delete;
    LibraryTree& operator=(const LibraryTree&) = delete;

    // Null if the text is no document, or memory ran out.
    const json_value* Root() const { return root; }

  private:
    static void* Allocate(size_t size, int zeroed, void* tree);
    void* Take(size_t size);
    std::byte* AddBlock(size_t size);

    alignas(std::max_align_t) std::array<std::byte, 4096> firstBlock;  // enough for most messages
    std::byte* next = firstBlock.data();
    size_t left = firstBlock.size();
    size_t blockSize = 16 * 1024;  // of the next block
    std::vector<std::unique_ptr<std::byte[]>> blocks;
    const json_value* root = nullptr;
};

}  // namespace orrery
