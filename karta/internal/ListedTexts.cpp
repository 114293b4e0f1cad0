#include "karta/internal/ListedTexts.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "base/Unicode.h"

namespace karta {

// For all of the list, which may have grown.
void ListedTexts::TakeRoom(CellStore& store, const TextList& list) {
    if (list.GetNumber() != number) {
        codes.clear();
        number = list.GetNumber();
    }
    store.Charge((list.GetSize() - codes.size()) * sizeof(std::uint32_t));
    codes.resize(list.GetSize(), Unknown);
}

std::uint32_t ListedTexts::MakeCode(CellStore& store, const TextList& list, std::size_t place) {
    if (words.size() == words.capacity()) {
        if (words.size() >= Unknown / 2) {
            throw std::length_error("more texts than a column can refer to");
        }
        const std::size_t room = std::clamp<std::size_t>(2 * words.size(), 64, Unknown / 2);
        store.Charge((room - words.size()) * (sizeof(std::uint64_t) + sizeof(std::uint32_t)));
        words.reserve(room);
        sizes.reserve(room);
    }
    std::string converted;
    const std::string_view text = AsUtf8(list.Get(place), converted);
    words.push_back(store.AddText(text));
    sizes.push_back(static_cast<std::uint32_t>(text.size()));
    hasEmptyText = hasEmptyText || text.empty();
    codes[place] = static_cast<std::uint32_t>(words.size() - 1);
    return codes[place];
}

}  // namespace karta
