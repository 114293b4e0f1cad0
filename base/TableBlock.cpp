#include "base/TableBlock.h"

#include <sys/mman.h>

#include <new>

namespace {

constexpr std::size_t PageSize = 4096;
// Blocks in a row of a large table, which are going to be filled. What is larger was made for one row or one
// text, and may stay empty in large parts.
constexpr std::size_t SmallestPopulated = 1 << 17;
constexpr std::size_t LargestPopulated = 1 << 20;

}  // namespace

// Fresh memory costs more than what is then written to it, since the system hands it out page by page at the
// first touch. All at once it takes two thirds of the time.
void* AllocateTableBlock(std::size_t size) {
    const bool isPopulated = size >= SmallestPopulated && size <= LargestPopulated;
    const std::size_t whole = (size + PageSize - 1) / PageSize * PageSize;
    void* const block = isPopulated ? std::aligned_alloc(PageSize, whole) : std::malloc(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
#ifdef MADV_POPULATE_WRITE
    if (isPopulated) {
        // A wish: an older system lets it be.
        madvise(block, whole, MADV_POPULATE_WRITE);
    }
#endif
    return block;
}
