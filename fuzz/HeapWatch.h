#pragma once

#include <cstddef>

/**
 * How much of the heap is in use at most while the object lives, beyond what was before. Always 0 where there
 * is no sanitizer that tells. One at a time.
 */
class HeapWatch {
public:
    HeapWatch();
    std::size_t GetPeak() const;
};
