#include "karta/internal/BlockPool.h"

#include <sys/mman.h>

#include <algorithm>

#include "base/PageMemory.h"

namespace karta {

namespace {

constexpr std::size_t MostKept = std::size_t{64} << 20;
// What comes and goes side by side: more would only add up where many tables are read one after the other.
constexpr std::size_t MostBlocks = 4;
// Up to here a block stays the process's own: to offer its pages to the system, and to claim them again,
// would cost half of what copying the numbers to it does.
constexpr std::size_t MostOwn = std::size_t{1} << 22;

void FreeBlock(const BlockPool::Block& block) {
    UnmapPages(block.data, block.size);
}

bool Offer(const BlockPool::Block& block) {
    return block.size <= MostOwn || madvise(block.data, block.size, MADV_FREE) == 0;
}

}  // namespace

BlockPool::~BlockPool() {
    std::for_each(blocks.begin(), blocks.end(), FreeBlock);
}

// Never destroyed: tables may live as long as the process.
BlockPool& BlockPool::GetShared() {
    static BlockPool& shared = *new BlockPool;
    return shared;
}

// Whoever finds the pool in use, also by a thread that a fork left behind, does without it.
BlockPool::Block BlockPool::Take(std::size_t size) {
    const std::unique_lock lock(mutex, std::try_to_lock);
    if (!lock) {
        return {};
    }
    auto best = blocks.end();
    for (auto block = blocks.begin(); block != blocks.end(); ++block) {
        const bool fits = block->size >= size && block->size / 2 <= size;
        if (fits && (best == blocks.end() || block->size < best->size)) {
            best = block;
        }
    }
    if (best == blocks.end()) {
        return {};
    }
    const Block taken = *best;
    blocks.erase(best);
    kept -= taken.size;
    return taken;
}

void BlockPool::Give(Block block) {
    const std::unique_lock lock(mutex, std::try_to_lock);
    if (!lock || block.size > MostKept || !Offer(block)) {
        FreeBlock(block);
        return;
    }
    while (kept + block.size > MostKept || blocks.size() == MostBlocks) {
        FreeBlock(blocks.front());
        kept -= blocks.front().size;
        blocks.pop_front();
    }
    blocks.push_back(block);
    kept += block.size;
}

std::size_t BlockPool::GetSize() const {
    const std::lock_guard lock(mutex);
    return kept;
}

}  // namespace karta
