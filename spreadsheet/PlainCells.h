#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "frame/CellRuns.h"
#include "spreadsheet/NumberFormats.h"
#include "spreadsheet/SharedStrings.h"
#include "spreadsheet/SheetCell.h"

/**
 * The cells that a sheet has by the million, numbers that are no dates and shared texts, on their way to the
 * table without a call for each, and how far the sheet's values reach. Columns and rows are the sheet's.
 */
class PlainCells {
public:
    /** `numberKinds` are those of the cell formats. The sink, the output and the texts stay the caller's. */
    PlainCells(ReadSpreadSheetData& sink, CellOutput& output, const SharedStrings& sharedTexts,
               std::vector<NumberKind> numberKinds)
        : runs(sink, output), texts(sharedTexts), kinds(std::move(numberKinds)) {}

    /** The next sheet's cells go so many columns and rows further. */
    void BeginSheet(int columns, int rows) {
        colOffset = columns;
        rowOffset = rows;
        extent = lastCell = {0, 0};
    }

    /** False, with nothing done, for one that its format makes a date. */
    bool TakeNumber(int col, int row, int style, double number) {
        if (GetKind(style) != NumberKind::Number) {
            return false;
        }
        Pass(col, row);
        Widen(col, row);
        runs.Put(col + colOffset, row + rowOffset, number);
        return true;
    }
    /** False, with nothing done, where there is no such text. */
    bool TakeShared(int col, int row, std::int64_t index) {
        if (!texts.Has(index)) {
            return false;
        }
        Pass(col, row);
        Widen(col, row);
        runs.PutListed(col + colOffset, row + rowOffset, texts.GetList(), static_cast<std::size_t>(index));
        return true;
    }

    /** Any cell that comes another way: first it has passed by, and then it is set, if at all. */
    void Pass(int col, int row) {
        lastCell.cols = col;
        lastCell.rows = row;
    }
    void Widen(int col, int row) { extent.Widen(col, row); }
    /** The next cell of this column is set by another way. */
    void Leave(int col) { runs.End(col + colOffset); }
    /** No cell is kept back any more. */
    void EndSheet() { runs.EndAll(); }

    /** What a format makes of its numbers; a cell without one has the first. */
    NumberKind GetKind(int style) const {
        const auto index = static_cast<std::size_t>(std::max(style, 0));
        return index < kinds.size() ? kinds[index] : NumberKind::Number;
    }
    int GetColumnOffset() const { return colOffset; }
    int GetRowOffset() const { return rowOffset; }
    /** How far the values of the present sheet reach. */
    const SheetSize& GetExtent() const { return extent; }
    /** The cell of the present sheet that came last; 0 and 0 in front of the first. */
    const SheetSize& GetLastCell() const { return lastCell; }

private:
    CellRuns runs;
    const SharedStrings& texts;
    std::vector<NumberKind> kinds;
    int colOffset = 0;
    int rowOffset = 0;
    SheetSize extent{0, 0};
    SheetSize lastCell{0, 0};
};
