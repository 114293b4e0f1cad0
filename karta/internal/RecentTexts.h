#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace karta {

/**
 * What was made of the texts that came last, by the addresses where they lay: a table of a fixed size, from
 * which older ones drop out. Whether the same text still lies there is for the caller to see, who tells of
 * it: where few texts come again, looking for them is given up.
 */
class RecentTexts {
public:
    /** Forgets all. A power of two, and at least a bucket. */
    void Resize(std::size_t texts);
    std::size_t GetSize() const { return buckets.size() * WaysOfBucket; }
    static std::size_t GetBytes(std::size_t texts) { return texts * sizeof(Entry); }

    /** Whether a look is worth it; counts as one. */
    bool IsWorthLooking() {
        constexpr std::size_t TrialSize = std::size_t{1} << 16;
        constexpr std::size_t LeastShare = 16;
        if (areComingAgain && ++lookups % TrialSize == 0) {
            areComingAgain = hits > TrialSize / LeastShare;
            hits = 0;
        }
        return areComingAgain;
    }
    bool AreComingAgain() const { return areComingAgain; }
    /** A look found the very text. */
    void CountHit() { ++hits; }
    std::size_t GetLookups() const { return lookups; }

    /** What was put for an address, or null. */
    const std::uint64_t* Find(const void* address) const {
        for (const Entry& entry : buckets[PlaceOf(address)].entries) {
            if (entry.address == address) {
                return &entry.made;
            }
        }
        return nullptr;
    }
    void Put(const void* address, std::uint64_t made);

private:
    // A line of the processor's cache.
    static constexpr std::size_t WaysOfBucket = 4;

    struct Entry {
        const void* address = nullptr;
        std::uint64_t made = 0;
    };
    struct alignas(64) Bucket {
        std::array<Entry, WaysOfBucket> entries;
    };

    std::size_t PlaceOf(const void* address) const {
        constexpr std::uint64_t Spread = 0x9e3779b97f4a7c15;
        return ((reinterpret_cast<std::uintptr_t>(address) * Spread) >> 32U) & (buckets.size() - 1);
    }

    std::vector<Bucket> buckets;
    bool areComingAgain = true;
    std::size_t lookups = 0;
    std::size_t hits = 0;  // among the lookups of the trial at hand
};

}  // namespace karta
