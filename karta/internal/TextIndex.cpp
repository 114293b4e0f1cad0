#include "karta/internal/TextIndex.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace karta {

namespace {

constexpr std::size_t FewestSlots = 256;

}  // namespace

std::int32_t TextIndex::Find(std::string_view text) {
    if (2 * texts.size() >= slots.size()) {
        Grow();
    }
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
}

}  // namespace karta
