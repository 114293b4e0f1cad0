#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>

#include "base/MemoryShare.h"
#include "base/TextList.h"

/** The texts that the cells of a workbook refer to by their place. */
class SharedStrings {
public:
    /** The context counts what is kept; it may be null. */
    explicit SharedStrings(std::shared_ptr<karta::ReadContext> readContext)
        : share(std::move(readContext), "shared strings") {}

    void Clear();
    void Add(std::string_view text) {
        share.Add(sizeof(std::string_view) + text.size() + 1);
        texts.Add(text);
    }
    bool Has(std::int64_t index) const {
        return index >= 0 && index < static_cast<std::int64_t>(texts.GetSize());
    }
    /** With a NUL behind it, valid until Clear; the empty text for an index that isn't there. */
    std::string_view Get(std::int64_t index) const {
        return Has(index) ? texts.Get(static_cast<std::size_t>(index)) : std::string_view("");
    }
    const TextList& GetList() const { return texts; }

private:
    MemoryShare share;
    TextList texts;
};
