#pragma once

#include <cstddef>

namespace karta {

// Memory in whole pages from the system: zeros, which cost nothing until they are written to. All that fail
// raise bad_alloc.

void* MapPages(std::size_t size);
/** Keeps what is there, without a copy, perhaps in another place; what is new are zeros. */
void* ResizePages(void* data, std::size_t size, std::size_t newSize);
/** By the size that they have now. */
void UnmapPages(void* data, std::size_t size);

/** From here on large pages save more than the part of one that stays empty costs. */
constexpr std::size_t SmallestHuge = std::size_t{1} << 22;
/**
 * Fresh memory costs a fault a page, often more than what is then written to it: large pages save most.
 * Smaller memory is left as it is.
 */
void WishForHugePages(void* data, std::size_t size);

}  // namespace karta
