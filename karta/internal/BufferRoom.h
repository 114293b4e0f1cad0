#pragma once

#include <cstddef>

#include "karta/Buffer.h"

namespace karta {

/**
 * Memory for many small buffers that are made one after the other: a table of a hundred thousand columns has
 * several for each, and what the heap takes for one, in time and in pages, is as much as filling it. A piece
 * of it is freed with the last buffer in it, by any thread; a buffer that grows moves to the heap.
 */
class BufferRoom {
public:
    BufferRoom() = default;
    BufferRoom(const BufferRoom&) = delete;
    BufferRoom& operator=(const BufferRoom&) = delete;
    ~BufferRoom();

    /** A buffer of so many bytes, one at least, that hold anything. Raises bad_alloc. */
    Buffer Take(std::size_t size);

private:
    SharedBlock* block = nullptr;  // which has this for an owner, too
    std::size_t next = 0;          // where in it room begins
    std::size_t nextSize = std::size_t{1} << 18;
};

}  // namespace karta
