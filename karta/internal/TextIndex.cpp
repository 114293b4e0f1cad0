#include "karta/internal/TextIndex.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace karta {

namespace {

constexpr std::size_t FewestSlots = 256;
// So many are in the processor's nearest cache.
constexpr std::size_t MostSlotsNearby = 2048;

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
inline std::uint32_t HashOf(std::string_view text) {
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

// Without a call for texts of some characters, as most are.
bool AreSame(std::string_view one, std::string_view other) {
    const std::size_t size = one.size();
    if (size != other.size()) {
        return false;
    }
    if (size < 4 || size > 16) {
        return one == other;
    }
    if (size < 8) {
        return LoadAs<std::uint32_t>(one.data()) == LoadAs<std::uint32_t>(other.data()) &&
               LoadAs<std::uint32_t>(one.data() + size - 4) == LoadAs<std::uint32_t>(other.data() + size - 4);
    }
    return LoadAs<std::uint64_t>(one.data()) == LoadAs<std::uint64_t>(other.data()) &&
           LoadAs<std::uint64_t>(one.data() + size - 8) == LoadAs<std::uint64_t>(other.data() + size - 8);
}

}  // namespace

// Where the same text is given again and again, its characters needn't be looked at.
std::int32_t TextIndex::Find(std::string_view text) {
    if (2 * texts.size() >= slots.size()) {
        Grow();
    }
    if (!recents.IsWorthLooking()) {
        return FindByHash(text, HashOf(text));
    }
    if (recents.GetSize() < slots.size()) {
        recents.Resize(slots.size());
    }
    const std::uint64_t* const known = recents.Find(text.data());
    if (known != nullptr && text.data() != nullptr && texts[*known].size() == text.size()) {
        recents.CountHit();
        return static_cast<std::int32_t>(*known);
    }
    const std::int32_t place = FindByHash(text, HashOf(text));
    recents.Put(text.data(), static_cast<std::uint64_t>(place));
    return place;
}

std::int32_t TextIndex::FindPassing(std::string_view text) {
    if (2 * texts.size() >= slots.size()) {
        Grow();
    }
    return FindByHash(text, HashOf(text));
}

void TextIndex::FindPassing(std::span<const std::string_view> several, std::span<std::int32_t> places) {
    while (2 * (texts.size() + several.size()) >= slots.size()) {
        Grow();
    }
    if (slots.size() <= MostSlotsNearby) {
        for (std::size_t i = 0; i < several.size(); ++i) {
            places[i] = FindByHash(several[i], HashOf(several[i]));
        }
        return;
    }
    const std::size_t mask = slots.size() - 1;
    std::array<std::uint32_t, MostAtOnce> hashes{};
    for (std::size_t i = 0; i < several.size(); ++i) {
        hashes[i] = HashOf(several[i]);
        __builtin_prefetch(&slots[hashes[i] & mask]);
    }
    for (std::size_t i = 0; i < several.size(); ++i) {
        const Slot& slot = slots[hashes[i] & mask];
        if (slot.place != 0 && slot.hash == hashes[i]) {
            __builtin_prefetch(&texts[static_cast<std::size_t>(slot.place) - 1]);
        }
    }
    for (std::size_t i = 0; i < several.size(); ++i) {
        const Slot& slot = slots[hashes[i] & mask];
        if (slot.place != 0 && slot.hash == hashes[i]) {
            __builtin_prefetch(texts[static_cast<std::size_t>(slot.place) - 1].data());
        }
    }
    for (std::size_t i = 0; i < several.size(); ++i) {
        places[i] = FindByHash(several[i], hashes[i]);
    }
}

std::int32_t TextIndex::FindByHash(std::string_view text, std::uint32_t hash) {
    const std::size_t mask = slots.size() - 1;
    for (std::size_t at = hash & mask;; at = (at + 1) & mask) {
        Slot& slot = slots[at];
        if (slot.place == 0) {
            texts.push_back(text);
            slot = {static_cast<std::int32_t>(texts.size()), hash};
            return slot.place - 1;
        }
        if (slot.hash == hash && AreSame(texts[static_cast<std::size_t>(slot.place) - 1], text)) {
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
