#include "karta/internal/ListedTexts.h"

#include <string>

#include "base/Unicode.h"

namespace karta {

// For all of the list, which may have grown.
void ListedTexts::TakeRoom(CellStore& store, const TextList& list) {
    if (list.GetNumber() != number) {
        words.clear();
        number = list.GetNumber();
    }
    store.Charge((list.GetSize() - words.size()) * sizeof(std::uint64_t));
    words.resize(list.GetSize());
}

std::uint64_t ListedTexts::MakeWord(CellStore& store, const TextList& list, std::size_t place) {
    std::string converted;
    words[place] = store.AddText(AsUtf8(list.Get(place), converted));
    return words[place];
}

}  // namespace karta
