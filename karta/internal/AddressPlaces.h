#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace karta {

/** What is known of texts that stay where they are, by their addresses alone: one flat table. */
class AddressPlaces {
public:
    static constexpr std::int32_t Unknown = -1;

    /** What the address stands for, for the caller to set where it is Unknown; valid until the next call. */
    std::int32_t& At(const char* address) {
        if (2 * count >= slots.size()) {
            Grow();
        }
        Slot& slot = Find(slots, address);
        if (slot.place == Unknown) {
            slot.address = address;
            ++count;
        }
        return slot.place;
    }

private:
    static constexpr std::size_t FewestSlots = 256;

    struct Slot {
        const char* address = nullptr;
        std::int32_t place = Unknown;
    };

    // That of the address, or a free one for it.
    static Slot& Find(std::vector<Slot>& among, const char* address) {
        constexpr std::uint64_t Spread = 0x9e3779b97f4a7c15;
        const std::size_t mask = among.size() - 1;
        std::size_t at = ((reinterpret_cast<std::uintptr_t>(address) * Spread) >> 32U) & mask;
        while (among[at].place != Unknown && among[at].address != address) {
            at = (at + 1) & mask;
        }
        return among[at];
    }

    void Grow() {
        std::vector<Slot> wider(slots.empty() ? FewestSlots : 2 * slots.size());
        for (const Slot& slot : slots) {
            if (slot.place != Unknown) {
                Find(wider, slot.address) = slot;
            }
        }
        slots = std::move(wider);
    }

    std::vector<Slot> slots;  // a power of two of them, at most half of them taken
    std::size_t count = 0;
};

}  // namespace karta
