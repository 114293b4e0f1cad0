#include "karta/internal/CellStore.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace karta {

namespace {

constexpr std::size_t LargestBlockSize = std::size_t{1} << 20;

// Powers of two: a small table has few texts, and more than the most would crowd the processor's cache.
constexpr std::size_t FewestRecents = 64;
constexpr std::size_t RecentsGrowth = 8;
constexpr std::size_t MostRecents = 32768;

}  // namespace

// An entry like all others: a length.
const std::uint32_t CellStore::EmptyText = 0;

char* CellStore::Take(std::size_t size) {
    if (size > remaining) {
        const std::size_t blockSize = std::max(size, nextBlockSize);
        Charge(blockSize);
        blocks.push_back(MakeTableBlock<char>(blockSize));
        next = blocks.back().get();
        remaining = blockSize;
        nextBlockSize = std::min(2 * nextBlockSize, LargestBlockSize);
    }
    char* const taken = next;
    next += size;
    remaining -= size;
    return taken;
}

std::uint64_t CellStore::AddText(std::string_view text) {
    const std::uint64_t known = FindText(text);
    return known != 0 ? known : AddNewText(text);
}

std::uint64_t CellStore::FindText(std::string_view text) {
    if (text.empty()) {
        return GetEmptyWord();
    }
    if (!recents.IsWorthLooking()) {
        return 0;
    }
    WidenRecents();
    const std::uint64_t* const known = recents.Find(text.data());
    if (known == nullptr || GetText(*known) != text) {
        return 0;
    }
    recents.CountHit();
    return *known;
}

std::uint64_t CellStore::AddNewText(std::string_view text) {
    const std::uint64_t word = Keep(text);
    if (recents.AreComingAgain() && recents.GetSize() > 0) {
        recents.Put(text.data(), word);
    }
    return word;
}

void CellStore::WidenRecents() {
    const std::size_t size = recents.GetSize();
    if (size < MostRecents && recents.GetLookups() > 4 * size) {
        const std::size_t wider = size == 0 ? FewestRecents : RecentsGrowth * size;
        Charge(RecentTexts::GetBytes(wider - size));
        recents.Resize(wider);
    }
}

std::uint64_t CellStore::Keep(std::string_view text) {
    if (text.size() > std::numeric_limits<std::uint32_t>::max()) {
        throw std::length_error("a text of more than 4 GiB");
    }
    const auto length = static_cast<std::uint32_t>(text.size());
    char* const entry = Take(sizeof length + text.size());
    std::memcpy(entry, &length, sizeof length);
    std::memcpy(entry + sizeof length, text.data(), text.size());
    return reinterpret_cast<std::uintptr_t>(entry);
}

}  // namespace karta
