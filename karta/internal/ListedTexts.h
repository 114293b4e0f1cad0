#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/TextList.h"
#include "karta/internal/CellStore.h"

namespace karta {

/** The words of a table's store for the texts of the list that its cells refer to. */
class ListedTexts {
public:
    /** The place is one of the list's. A text is looked at when it is met first. */
    std::uint64_t FindWord(CellStore& store, const TextList& list, std::size_t place) {
        if (list.GetNumber() != number || place >= words.size()) {
            TakeRoom(store, list);
        }
        return words[place] != 0 ? words[place] : MakeWord(store, list, place);
    }

private:
    void TakeRoom(CellStore& store, const TextList& list);
    std::uint64_t MakeWord(CellStore& store, const TextList& list, std::size_t place);

    std::uint64_t number = 0;
    std::vector<std::uint64_t> words;  // 0: not met yet
};

}  // namespace karta
