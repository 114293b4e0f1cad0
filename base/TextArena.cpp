#include "base/TextArena.h"

#include <algorithm>
#include <cstring>

namespace {

// A small table costs little; later blocks double up to the largest.
constexpr std::size_t FirstBlockSize = 4096;
constexpr std::size_t LargestBlockSize = 1 << 18;
// Most cells are shorter than this and are copied byte by byte, without a call.
constexpr std::size_t ShortText = 24;

}  // namespace

char* TextArena::Take(std::size_t size) {
    if (size > remaining) {
        nextBlockSize = std::clamp(nextBlockSize * 2, FirstBlockSize, LargestBlockSize);
        if (budget != nullptr) {
            budget->ChargeMemory(std::max(size, nextBlockSize), "The table's texts");
        }
        blocks.push_back(MakeTableBlock<char>(std::max(size, nextBlockSize)));
        if (size >= nextBlockSize) {
            // A text as large as a block has one to itself, and the block begun before goes on.
            return blocks.back().get();
        }
        next = blocks.back().get();
        remaining = nextBlockSize;
    }
    char* place = next;
    next += size;
    remaining -= size;
    return place;
}

const char* TextArena::Add(std::string_view text) {
    char* place = Take(text.size() + 1);
    if (!text.empty()) {
        std::memcpy(place, text.data(), text.size());
    }
    place[text.size()] = '\0';
    return place;
}

const char* TextArena::Add(const char* text) {
    if (remaining >= ShortText) {
        char* const place = next;
        for (std::size_t i = 0; i < ShortText; ++i) {
            place[i] = text[i];
            if (text[i] == '\0') {
                next += i + 1;
                remaining -= i + 1;
                return place;
            }
        }
    }
    return Add(std::string_view(text));
}

const char* TextArena::AddOnce(std::string_view text) {
    if (text.size() < LeastShared) {
        return Add(text);
    }
    if (const auto known = shared.find(text); known != shared.end()) {
        return known->data();
    }
    const char* const place = Add(text);
    shared.emplace(place, text.size());
    return place;
}

const char* TextArena::AddBehind(const char* place, std::size_t size, std::string_view text) {
    if (place + size == next && text.size() < remaining) {
        Add(text);
        return place;
    }
    char* const copy = Take(size + text.size() + 1);
    std::memcpy(copy, place, size);
    std::memcpy(copy + size, text.data(), text.size());
    copy[size + text.size()] = '\0';
    return copy;
}

void TextArena::Clear() {
    shared.clear();
    blocks.clear();
    nextBlockSize = 0;
    next = nullptr;
    remaining = 0;
}
