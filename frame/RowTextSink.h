#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "base/Export.h"

/** How rows are written as text: parted by a byte, by the rules of SeparatedText, all of one width. */
struct RowTextForm {
    char separator = ',';
    std::size_t width = 0;

    bool operator==(const RowTextForm& other) const = default;
};

/**
 * A sink that only writes the characters of each field: where a text goes on as a text, what its cells are
 * needn't be found out. Rows of cells and rows of text may come in turn, in the order of the rows.
 */
class KARTA_EXPORT RowTextSink {
public:
    virtual ~RowTextSink() = default;

    /** Nothing while cells are wanted; may change with each row that arrives. */
    virtual std::optional<RowTextForm> GetRowTextForm() = 0;
    /** Whole rows in that form, of which the widest has so many fields that the file has. They are final. */
    virtual void PutRowTexts(int firstRow, int rows, int cols, std::string_view text) = 0;
};
