#include "karta/internal/CellStore.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace karta {

namespace {

constexpr std::size_t LargestBlockSize = std::size_t{1} << 20;

}  // namespace

char* CellStore::Take(std::size_t size) {
    if (size > remaining) {
        const std::size_t blockSize = std::max(size, nextBlockSize);
        Charge(blockSize);
        blocks.push_back(MakeTableBlock<char>(blockSize));
        next = blocks.back().get();
        remaining = blockSize;
        nextBlockSize = std::min(2 * nextBlockSize, LargestBlockSize);
    }
    char* const taken = next;
    next += size;
    remaining -= size;
    return taken;
}

std::uint64_t CellStore::AddText(std::string_view text) {
    if (text.size() > std::numeric_limits<std::uint32_t>::max()) {
        throw std::length_error("a text of more than 4 GiB");
    }
    const auto length = static_cast<std::uint32_t>(text.size());
    char* const entry = Take(sizeof length + text.size());
    std::memcpy(entry, &length, sizeof length);
    if (!text.empty()) {
        std::memcpy(entry + sizeof length, text.data(), text.size());
    }
    return reinterpret_cast<std::uintptr_t>(entry);
}

}  // namespace karta
