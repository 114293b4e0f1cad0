#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "base/TableBlock.h"

/** Keeps texts one behind the other in large blocks, each with its NUL: no allocation a text. */
class TextArena {
public:
    /** A copy that stays where it is until the arena is cleared or destroyed. */
    const char* Add(std::string_view text);
    const char* Add(const char* text);
    void Clear();

private:
    char* Take(std::size_t size);

    std::vector<TableBlock<char>> blocks;
    std::size_t nextBlockSize = 0;
    char* next = nullptr;
    std::size_t remaining = 0;
};
