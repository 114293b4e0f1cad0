#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "container/MatArray.h"
#include "container/MatNumbers.h"

/**
 * The texts of a character array, one a row of each page: its characters stand column by column, as bytes, as
 * units of UTF-16 or as whole characters. Blanks and NULs at a text's end are padding and are cut.
 */
class MatText {
public:
    /** False when there are fewer characters than the array says. */
    bool Read(const MatArray& array, MatNumbers& characters);

    /** In UTF-8; both from 0. */
    std::string GetRow(std::uint64_t row, std::uint64_t page) const;
    /** Whether bytes had to be taken for Windows-1252, since they are no UTF-8. */
    bool HasForeignBytes() const { return hasForeignBytes; }

private:
    enum class Form { Bytes, Utf16, Characters };

    bool ReadUtf8(MatNumbers& characters, std::uint64_t wanted);
    bool TakeUtf8(std::string_view text, std::uint64_t wanted);

    Form form = Form::Characters;
    std::uint64_t rows = 0;
    std::uint64_t columns = 0;
    std::vector<char32_t> units;
    mutable bool hasForeignBytes = false;
};
