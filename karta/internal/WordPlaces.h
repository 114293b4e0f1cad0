#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace karta {

/** What texts of a store stand for, by their words alone: one flat table, and no look at a text. */
class WordPlaces {
public:
    static constexpr std::int32_t Unknown = -1;

    /** What the word stands for, for the caller to set where it is Unknown; valid until the next call. */
    std::int32_t& At(std::uint64_t word) {
        if (2 * count >= slots.size()) {
            Grow();
        }
        Slot& slot = Find(slots, word);
        if (slot.place == Unknown) {
            slot.word = word;
            ++count;
        }
        return slot.place;
    }
    /** How many words stand for something. */
    std::size_t GetCount() const { return count; }

private:
    static constexpr std::size_t FewestSlots = 256;

    struct Slot {
        std::uint64_t word = 0;
        std::int32_t place = Unknown;
    };

    // That of the word, or a free one for it.
    static Slot& Find(std::vector<Slot>& among, std::uint64_t word) {
        constexpr std::uint64_t Spread = 0x9e3779b97f4a7c15;
        const std::size_t mask = among.size() - 1;
        std::size_t at = ((word * Spread) >> 32U) & mask;
        while (among[at].place != Unknown && among[at].word != word) {
            at = (at + 1) & mask;
        }
        return among[at];
    }

    void Grow() {
        std::vector<Slot> wider(slots.empty() ? FewestSlots : 2 * slots.size());
        for (const Slot& slot : slots) {
            if (slot.place != Unknown) {
                Find(wider, slot.word) = slot;
            }
        }
        slots = std::move(wider);
    }

    std::vector<Slot> slots;  // a power of two of them, at most half of them taken
    std::size_t count = 0;
};

}  // namespace karta
