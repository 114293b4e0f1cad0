#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "karta/internal/RecentTexts.h"

namespace karta {

/** Distinct texts and their places, in the order in which they came: one flat table, no allocation a text. */
class TextIndex {
public:
    /** The place of a text, which stays the caller's; a new one gets the next. */
    std::int32_t Find(std::string_view text);
    /** The same of a text whose address tells nothing: another may come to lie there, or none ever again. */
    std::int32_t FindPassing(std::string_view text);
    /** The same of several at once, which is faster: what is far off in memory is asked for ahead. */
    void FindPassing(std::span<const std::string_view> several, std::span<std::int32_t> places);
    static constexpr std::size_t MostAtOnce = 32;
    const std::vector<std::string_view>& GetTexts() const { return texts; }
    /** The text that was new last, at the place where it stays. */
    void KeepLast(std::string_view sameText) { texts.back() = sameText; }

private:
    /** A text's place + 1, 0 for none, and a part of its hash. */
    struct Slot {
        std::int32_t place = 0;
        std::uint32_t hash = 0;
    };

    std::int32_t FindByHash(std::string_view text, std::uint32_t hash);
    void Grow();

    std::vector<std::string_view> texts;
    std::vector<Slot> slots;  // a power of two of them, at most half of them taken
    RecentTexts recents;      // their places; as many
};

}  // namespace karta
