#include "karta/internal/RecentTexts.h"

#include <algorithm>

namespace karta {

void RecentTexts::Resize(std::size_t texts) {
    buckets.assign(texts / WaysOfBucket, {});
}

// In place of what was there for the address, else of the oldest.
void RecentTexts::Put(const void* address, std::uint64_t made) {
    std::array<Entry, WaysOfBucket>& entries = buckets[PlaceOf(address)].entries;
    auto* const same = std::find_if(entries.begin(), entries.end() - 1,
                                    [address](const Entry& entry) { return entry.address == address; });
    std::move_backward(entries.begin(), same, same + 1);
    entries.front() = {address, made};
}

}  // namespace karta
