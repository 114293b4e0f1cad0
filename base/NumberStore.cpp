#include "base/NumberStore.h"

#include <utility>

#include "base/PageMemory.h"

namespace karta {

namespace {

constexpr std::size_t SmallestBlock = std::size_t{1} << 16;
constexpr std::size_t LargestBlock = std::size_t{1} << 23;
// A larger array has a block of its own, so that little is left over at the end of any.
constexpr std::size_t LargestShared = LargestBlock / 16;

std::shared_ptr<void> Own(void* data, std::size_t bytes) {
    return {data, [bytes](void* pages) { UnmapPages(pages, bytes); }};
}

}  // namespace

StoredNumbers NumberStore::Keep(NumberRoom& room, double factor) {
    StoredNumbers kept;
    kept.count = room.count;
    double* target = nullptr;
    const std::size_t bytes = room.count * sizeof(double);
    if (bytes > LargestShared) {
        target = static_cast<double*>(ResizePages(room.numbers, room.capacity * sizeof(double), bytes));
        room.numbers = nullptr;
        room.count = room.capacity = 0;
        kept.memory = Own(target, bytes);
        kept.numbers = target;
        if (factor != 1.0) {
            std::transform(target, target + kept.count, target,
                           [factor](double number) { return number * factor; });
        }
        return kept;
    }
    target = Take(room.count, kept.memory);
    kept.numbers = target;
    std::transform(room.numbers, room.numbers + room.count, target,
                   [factor](double number) { return number * factor; });
    return kept;
}

// Twice as large each time, so that a few numbers don't take pages for many.
double* NumberStore::Take(std::size_t count, std::shared_ptr<void>& memory) {
    const std::lock_guard lock(mutex);
    if (count > remaining || block == nullptr) {
        blockBytes =
            std::clamp(std::max(2 * blockBytes, count * sizeof(double)), SmallestBlock, LargestBlock);
        block = Own(MapPages(blockBytes), blockBytes);
        WishForHugePages(block.get(), blockBytes);
        next = static_cast<double*>(block.get());
        remaining = blockBytes / sizeof(double);
    }
    memory = block;
    remaining -= count;
    return std::exchange(next, next + count);
}

}  // namespace karta
