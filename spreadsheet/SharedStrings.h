#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "base/TextArena.h"

/** The texts that the cells of a workbook refer to by their place. */
class SharedStrings {
public:
    void Clear();
    void Add(std::string_view text) { texts.push_back(arena.Add(text)); }
    bool Has(std::int64_t index) const {
        return index >= 0 && index < static_cast<std::int64_t>(texts.size());
    }
    /** Valid until Clear; the empty text for an index that isn't there. */
    const char* Get(std::int64_t index) const {
        return Has(index) ? texts[static_cast<std::size_t>(index)] : "";
    }

private:
    std::vector<const char*> texts;
    TextArena arena;
};
