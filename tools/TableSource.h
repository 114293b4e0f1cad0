#pragma once

#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "frame/NumberRowSource.h"
#include "frame/WriteSpreadSheetData.h"
#include "table/TableData.h"

/** What a format's writer gets: the wanted rows, with their texts in UTF-8 as all that is written here. */
class WantedRows : public WriteSpreadSheetData {
public:
    /** Both stay the caller's. `safeCells`: texts are made harmless by SafeCell. */
    WantedRows(TableData& source, const std::vector<int>& wanted, bool safeCells)
        : table(source), rows(wanted), makesSafe(safeCells) {}

    double GetFloatValue(int col, int row) override { return table.GetFloatValue(col, At(row)); }
    std::string GetString(int col, int row) override;
    bool GetDataOrigin(int* firstDataCol, int* firstDataRow) override;
    bool IsFloat(int col, int row) override { return table.IsFloat(col, At(row)); }
    bool IsMissing(int col, int row) override { return table.IsMissing(col, At(row)); }
    bool IsString(int col, int row) override { return table.IsString(col, At(row)); }
    int GetNumberOfColumns() override { return table.GetNumberOfColumns(); }
    int GetNumberOfRows() override { return static_cast<int>(rows.size()); }

protected:
    /** The table's row; raises Failure once the user has interrupted. */
    int At(int row) const;
    TableData& GetTable() const { return table; }

private:
    TableData& table;
    const std::vector<int>& rows;
    bool makesSafe;
};

/**
 * The same for a writer of numbers: a text that is a number as a whole is one, unless a leading zero makes it
 * a name; truth values are 1 and 0.
 */
class NumericRows : public WantedRows, public NumberRowSource {
public:
    /** `headRows`: so many rows of the table name columns, whatever their texts look like. */
    NumericRows(TableData& source, const std::vector<int>& wanted, bool safeCells, int headRows = 0)
        : WantedRows(source, wanted, safeCells), heads(headRows) {}

    double GetFloatValue(int col, int row) override;
    bool GetDataOrigin(int* firstDataCol, int* firstDataRow) override;
    bool IsFloat(int col, int row) override;
    bool IsString(int col, int row) override;

    void GetNumbers(int firstCol, int row, std::span<double> numbers, double missing) const override;

    /** How many cells among the numbers are texts or dates, for which a writer of numbers has no place. */
    std::size_t CountUnwritable();

private:
    std::optional<double> NumberAt(int col, int row) const;
    std::optional<double> NumberInTable(int col, int tableRow) const;

    int heads;
    std::optional<std::pair<int, int>> origin;  // column and row; (0, 0): no number at all
};

/** The text with an apostrophe in front where a spreadsheet would take it for a formula. */
std::string SafeCell(std::string text);
