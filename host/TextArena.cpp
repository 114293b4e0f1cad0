#include "host/TextArena.h"

#include <algorithm>
#include <cstring>

namespace {
constexpr std::size_t BlockSize = 1 << 20;
}  // namespace

const char* TextArena::Add(std::string_view text) {
    const std::size_t size = text.size() + 1;
    char* place = next;
    if (size > remaining) {
        const std::size_t blockSize = std::max(size, BlockSize);
        blocks.push_back(std::make_unique_for_overwrite<char[]>(blockSize));
        place = blocks.back().get();
        // A text as large as a block has one to itself, and the one begun before goes on.
        if (blockSize == BlockSize) {
            next = place;
            remaining = blockSize;
        }
    }
    if (place == next) {
        next += size;
        remaining -= size;
    }
    if (!text.empty()) {
        std::memcpy(place, text.data(), text.size());
    }
    place[text.size()] = '\0';
    return place;
}

void TextArena::Clear() {
    blocks.clear();
    next = nullptr;
    remaining = 0;
}
