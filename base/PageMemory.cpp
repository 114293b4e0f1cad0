#include "base/PageMemory.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace karta {

void* MapPages(std::size_t size) {
    void* const data =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (data == MAP_FAILED) {
        throw std::bad_alloc();
    }
    return data;
}

void* ResizePages(void* data, std::size_t size, std::size_t newSize) {
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
    // It doesn't see that moving a mapping gives addresses back, and takes their next owner for a racing one.
    void* const copy = MapPages(newSize);
    std::memcpy(copy, data, std::min(size, newSize));
    UnmapPages(data, size);
    return copy;
#endif
#endif
    void* const moved = mremap(data, size, newSize, MREMAP_MAYMOVE);
    if (moved == MAP_FAILED) {
        throw std::bad_alloc();
    }
    return moved;
}

void UnmapPages(void* data, std::size_t size) {
    munmap(data, size);
}

void WishForHugePages(void* data, std::size_t size) {
    // Where the system has none, it stays as it is too.
    if (size >= SmallestHuge) {
        madvise(data, size, MADV_HUGEPAGE);
    }
}

}  // namespace karta
