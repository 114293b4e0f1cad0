#pragma once

#include <cstddef>
#include <deque>
#include <mutex>

namespace karta {

/**
 * Large blocks of memory that tables gave back, kept for the next ones: fresh memory costs more than the
 * numbers that are then written to it. The system may take the pages of kept blocks whenever it is short of
 * memory, but for those of the few smaller ones. One for the process; any thread may use it.
 */
class BlockPool {
public:
    /** Whole pages from the system. */
    struct Block {
        void* data = nullptr;
        std::size_t size = 0;
    };

    BlockPool() = default;
    BlockPool(const BlockPool&) = delete;
    BlockPool& operator=(const BlockPool&) = delete;
    ~BlockPool();

    /** That of the process. */
    static BlockPool& GetShared();

    /** A block of at least `size` bytes and not much more, which hold anything; without data: there is none.
     */
    Block Take(std::size_t size);
    /** Keeps it, or gives it back to the system. */
    void Give(Block block);

    /** Bytes that are kept. */
    std::size_t GetSize() const;

private:
    mutable std::mutex mutex;
    std::deque<Block> blocks;  // the oldest first
    std::size_t kept = 0;
};

}  // namespace karta
