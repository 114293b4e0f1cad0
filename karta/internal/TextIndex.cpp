#include "karta/internal/TextIndex.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace karta {

namespace {

constexpr std::size_t FewestSlots = 256;

std::uint64_t Mix(std::uint64_t one, std::uint64_t other) {
    const auto product = static_cast<unsigned __int128>(one) * other;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64U);
}

template <class Word>
std::uint64_t LoadAs(const char* from) {
    Word word = 0;
    std::memcpy(&word, from, sizeof word);
    return word;
}

// Words of the text, of which the last ones overlap, multiplied together: most texts are short.
std::uint32_t HashOf(std::string_view text) {
    constexpr std::uint64_t Odd = 0x9e3779b97f4a7c15;
    constexpr std::uint64_t Other = 0xd1b54a32d192ed03;
    const char* at = text.data();
    std::size_t left = text.size();
    std::uint64_t hash = left * Odd;
    for (; left > 16; left -= 16, at += 16) {
        hash = Mix(LoadAs<std::uint64_t>(at) ^ hash, LoadAs<std::uint64_t>(at + 8) ^ Other);
    }
    std::uint64_t front = 0;
    std::uint64_t back = 0;
    if (left >= 8) {
        front = LoadAs<std::uint64_t>(at);
        back = LoadAs<std::uint64_t>(at + left - 8);
    } else if (left >= 4) {
        front = LoadAs<std::uint32_t>(at);
        back = LoadAs<std::uint32_t>(at + left - 4);
    } else if (left > 0) {
        front = static_cast<unsigned char>(at[0]) |
                static_cast<std::uint64_t>(static_cast<unsigned char>(at[left / 2])) << 8U;
        back = static_cast<unsigned char>(at[left - 1]);
    }
    hash = Mix(front ^ hash, back ^ Other);
    return static_cast<std::uint32_t>(hash ^ hash >> 32U);
}

}  // namespace

// Where the same text is given again and again, its characters needn't be looked at.
std::int32_t TextIndex::Find(std::string_view text) {
    if (2 * texts.size() >= slots.size()) {
        Grow();
    }
    if (!recents.IsWorthLooking()) {
        return FindByHash(text);
    }
    if (recents.GetSize() < slots.size()) {
        recents.Resize(slots.size());
    }
    const std::uint64_t* const known = recents.Find(text.data());
    if (known != nullptr && text.data() != nullptr && texts[*known].size() == text.size()) {
        recents.CountHit();
        return static_cast<std::int32_t>(*known);
    }
    const std::int32_t place = FindByHash(text);
    recents.Put(text.data(), static_cast<std::uint64_t>(place));
    return place;
}

std::int32_t TextIndex::FindPassing(std::string_view text) {
    if (2 * texts.size() >= slots.size()) {
        Grow();
    }
    return FindByHash(text);
}

std::int32_t TextIndex::FindByHash(std::string_view text) {
    const std::size_t mask = slots.size() - 1;
    const std::uint32_t hash = HashOf(text);
    for (std::size_t at = hash & mask;; at = (at + 1) & mask) {
        Slot& slot = slots[at];
        if (slot.place == 0) {
            texts.push_back(text);
            slot = {static_cast<std::int32_t>(texts.size()), hash};
            return slot.place - 1;
        }
        if (slot.hash == hash && texts[static_cast<std::size_t>(slot.place) - 1] == text) {
            return slot.place - 1;
        }
    }
}

void TextIndex::Grow() {
    std::vector<Slot> wider(std::max(FewestSlots, 2 * slots.size()));
    const std::size_t mask = wider.size() - 1;
    for (const Slot& slot : slots) {
        if (slot.place == 0) {
            continue;
        }
        std::size_t at = slot.hash & mask;
        while (wider[at].place != 0) {
            at = (at + 1) & mask;
        }
        wider[at] = slot;
    }
    slots = std::move(wider);
}

}  // namespace karta
