#include "karta/internal/TextIndex.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace karta {

namespace {

constexpr std::size_t FewestSlots = 256;

}  // namespace

// Where the same text is given again and again, its characters needn't be looked at.
std::int32_t TextIndex::Find(std::string_view text) {
    if (2 * texts.size() >= slots.size()) {
        Grow();
    }
    if (!AreTextsComingAgain()) {
        return FindByHash(text);
    }
    ++lookups;
    const std::uint64_t* const known = recents.Find(text.data());
    if (known != nullptr && text.data() != nullptr && texts[*known].size() == text.size()) {
        ++hits;
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

// Whether looking among the recent ones is worth it; where most texts are new or lie elsewhere it isn't.
bool TextIndex::AreTextsComingAgain() const {
    constexpr std::size_t TrialSize = 4096;
    constexpr std::size_t LeastShare = 16;
    return lookups < TrialSize || hits >= lookups / LeastShare;
}

std::int32_t TextIndex::FindByHash(std::string_view text) {
    const std::size_t mask = slots.size() - 1;
    const auto hash = static_cast<std::uint32_t>(std::hash<std::string_view>{}(text));
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
    recents.Resize(slots.size());
}

}  // namespace karta
