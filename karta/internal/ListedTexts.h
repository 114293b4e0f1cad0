#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "base/TextList.h"
#include "karta/internal/CellStore.h"

namespace karta {

/**
 * The texts of the lists that a table's cells refer to, each with a code, by which a column keeps it. A code
 * stays what it is, whatever list comes next.
 */
class ListedTexts {
public:
    /** The place is one of the list's. A text is looked at when it is met first. */
    std::uint32_t FindCode(CellStore& store, const TextList& list, std::size_t place) {
        if (list.GetNumber() != number || place >= codes.size()) {
            TakeRoom(store, list);
        }
        return codes[place] != Unknown ? codes[place] : MakeCode(store, list, place);
    }

    /** Codes count from 0. */
    std::size_t GetCount() const { return words.size(); }
    /** The store's word for a text. */
    std::uint64_t GetWord(std::uint32_t code) const { return words[code]; }
    std::string_view GetText(std::uint32_t code) const { return CellStore::GetText(words[code]); }
    /** In bytes, without a look at the text. */
    std::uint32_t GetSize(std::uint32_t code) const { return sizes[code]; }
    /** Whether a text among them is empty. */
    bool HasEmptyText() const { return hasEmptyText; }

private:
    // No list has so many.
    static constexpr std::uint32_t Unknown = 0xffffffff;

    void TakeRoom(CellStore& store, const TextList& list);
    std::uint32_t MakeCode(CellStore& store, const TextList& list, std::size_t place);

    std::uint64_t number = 0;
    std::vector<std::uint32_t> codes;  // of the texts of the list
    std::vector<std::uint64_t> words;
    std::vector<std::uint32_t> sizes;
    bool hasEmptyText = false;
};

}  // namespace karta
