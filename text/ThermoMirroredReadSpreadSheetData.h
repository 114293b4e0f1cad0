#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "frame/ReadSpreadSheetData.h"
#include "table/TableData.h"

/**
 * Collects the texts of a table of a fixed size, for ThermoSIEVEFile to look through. Cells outside of it,
 * and numbers, are dropped. Memory grows with the cells that come, not with the size.
 *
 * Cells that come line by line from the first column on, as those of a file do, lie one text behind the
 * other.
 */
class ThermoMirroredReadSpreadSheetData : public ReadSpreadSheetData {
public:
    /** Holds nothing when either is less than 1. `bytes`: how many the texts may take, for the room. */
    ThermoMirroredReadSpreadSheetData(int rows, int cols, std::size_t bytes = 0);

    void Set(int col, int row, const char* text) override;
    void Set(int col, int row, float value) override;
    void SetDataSize(int cols, int rows) override;
    int GetNumberOfColumns() override { return numCols; }
    int GetNumberOfRows() override { return numRows; }

    /** The text of a cell, both counted from 0, with a NUL behind it; empty for one that never came. */
    std::string_view GetText(int row, int col) const {
        return hasOthers || !IsThere(row, col) ? GetOther(row, col) : GetInLine(row, col);
    }

private:
    /** The cells of a line, as far as they came in their order. */
    struct Line {
        std::size_t firstCharacter = 0;
        std::size_t firstCell = 0;
        int count = 0;
    };

    bool IsThere(int row, int col) const {
        return row >= 0 && col >= 0 && static_cast<std::size_t>(row) < lines.size() &&
               col < lines[static_cast<std::size_t>(row)].count;
    }
    std::string_view GetInLine(int row, int col) const {
        const Line& line = lines[static_cast<std::size_t>(row)];
        const std::uint32_t* const lineEnds = ends.data() + line.firstCell;
        const std::uint32_t start = col == 0 ? 0 : lineEnds[col - 1];
        return {characters.data() + line.firstCharacter + start, lineEnds[col] - start - 1};
    }
    std::string_view GetOther(int row, int col) const;
    bool Append(int col, int row, std::string_view text);

    std::vector<char> characters;     // of all texts, each with its NUL
    std::vector<std::uint32_t> ends;  // of each text, from its line's first character
    std::vector<Line> lines;
    TableData others;  // what came in another order
    bool hasOthers = false;
    int numRows;
    int numCols;
};
