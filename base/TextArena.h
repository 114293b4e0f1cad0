#pragma once

#include <cstddef>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "base/Budget.h"
#include "base/TableBlock.h"

/**
 * Keeps texts one behind the other in large blocks, each with its NUL: no allocation a text. With a budget,
 * which stays its owner's and must outlive the arena or be taken away, each block is charged to it first.
 */
class TextArena {
public:
    /** A copy that stays where it is until the arena is cleared or destroyed. */
    const char* Add(std::string_view text);
    const char* Add(const char* text);
    /** The same, but a text from LeastShared bytes on that was added so before is kept once. */
    const char* AddOnce(std::string_view text);
    static constexpr std::size_t LeastShared = 64;
    /**
     * A text right behind `size` bytes that were added before: where they are, if they were the last, and
     * else behind a copy of them. Returns where the bytes are now.
     */
    const char* AddBehind(const char* place, std::size_t size, std::string_view text);
    void Clear();
    void SetBudget(karta::Budget* newBudget) { budget = newBudget; }

private:
    char* Take(std::size_t size);

    std::vector<TableBlock<char>> blocks;
    std::size_t nextBlockSize = 0;
    char* next = nullptr;
    std::size_t remaining = 0;
    std::unordered_set<std::string_view> shared;
    karta::Budget* budget = nullptr;
};
