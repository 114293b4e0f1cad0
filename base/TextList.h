#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "base/TextArena.h"

/**
 * Texts to which many cells refer by their places. Each list has a number of its own: who keeps what it made
 * of a text sees by it that another list is meant.
 */
class TextList {
public:
    TextList() : number(TakeNumber()) {}
    TextList(const TextList&) = delete;
    TextList& operator=(const TextList&) = delete;

    void Add(std::string_view text) { texts.emplace_back(arena.Add(text), text.size()); }
    /** From now on it is another list. */
    void Clear();

    std::size_t GetSize() const { return texts.size(); }
    /** From 0, of a text that is there: with a NUL behind it, where it is until Clear. */
    std::string_view Get(std::size_t place) const { return texts[place]; }
    std::uint64_t GetNumber() const { return number; }

private:
    static std::uint64_t TakeNumber();

    std::vector<std::string_view> texts;
    TextArena arena;
    std::uint64_t number;
};
