#include "karta/internal/BufferRoom.h"

#include <algorithm>
#include <cstring>

#include "base/PageMemory.h"
#include "karta/internal/SharedBlock.h"

namespace karta {

namespace {

// In large pages; a single column that is left of a table keeps no more.
constexpr std::size_t LargestBlock = SmallestHuge;

}  // namespace

BufferRoom::~BufferRoom() {
    if (block != nullptr) {
        block->Release();
    }
}

// In front of each buffer is room for the address of what it is in.
Buffer BufferRoom::Take(std::size_t size) {
    if (size > nextSize / 4) {
        Buffer large;
        large.ResizeUnset(size);
        return large;
    }
    const std::size_t whole = (size + Buffer::Alignment - 1) / Buffer::Alignment * Buffer::Alignment;
    if (block == nullptr || next + Buffer::Alignment + whole > block->memory.GetSize()) {
        auto* const fresh = new SharedBlock;
        if (block != nullptr) {
            block->Release();
        }
        block = fresh;
        next = 0;
        block->memory.ResizeUnset(nextSize);
        nextSize = std::min(2 * nextSize, LargestBlock);
    }
    char* const data = block->memory.As<char>() + next + Buffer::Alignment;
    next += Buffer::Alignment + whole;
    std::memset(data + size, 0, whole - size);
    return {*block, data, size};
}

}  // namespace karta
