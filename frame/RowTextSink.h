#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Export.h"

/** How rows are written as text, all of one width. */
struct RowTextForm {
    enum Kind : std::uint8_t {
        Separated, /**< parted by a byte, by the rules of SeparatedText: each field's own characters */
        JsonLines  /**< by JsonRows: each field as the cell that it is, whose type its column has */
    };

    Kind kind = Separated;
    std::size_t width = 0;
    char separator = ',';
    /** JSON lines: what JsonRows::Begin takes; null for arrays. They stay the sink's. */
    const std::vector<std::string>* members = nullptr;

    bool operator==(const RowTextForm& other) const = default;
};

/**
 * A sink that only writes rows as text: where a text goes on as a text, what its cells are needn't be found
 * out, or not be kept. Rows of cells and rows of text may come in turn, in the order of the rows.
 */
class KARTA_EXPORT RowTextSink {
public:
    virtual ~RowTextSink() = default;

    /** Nothing while cells are wanted; may change with each row that arrives. */
    virtual std::optional<RowTextForm> GetRowTextForm() = 0;
    /** Whole rows in that form, of which the widest has so many fields that the file has. They are final. */
    virtual void PutRowTexts(int firstRow, int rows, int cols, std::string_view text) = 0;
};
