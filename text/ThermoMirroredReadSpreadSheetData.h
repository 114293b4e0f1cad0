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
    std::string_view GetText(int row, int col) const;

private:
    /** The cells of a line, as far as they came in their order. */
    struct Line {
        std::size_t firstCharacter = 0;
        std::size_t firstCell = 0;
        int count = 0;
    };

    bool Append(int col, int row, std::string_view text);

    std::vector<char> characters;     // of all texts, each with its NUL
    std::vector<std::uint32_t> ends;  // of each text, from its line's first character
    std::vector<Line> lines;
    TableData others;  // what came in another order
    bool hasOthers = false;
    int numRows;
    int numCols;
};
