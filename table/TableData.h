#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/TableBlock.h"
#include "base/TextArena.h"
#include "frame/CellOutput.h"
#include "frame/SpreadsheetData.h"
#include "frame/WideSink.h"

/**
 * A table in memory, for reading into and writing from. A number is kept in the type it came in. Rows
 * take only the cells up to their last one that was set, so a table of ragged rows costs what its cells
 * cost and not columns times rows; growing in either direction keeps what is there.
 *
 * A cell beyond the present size makes the table larger. A row or column below 1 is ignored.
 */
class KARTA_EXPORT TableData : public SpreadsheetData, public WideSink {
public:
    enum Kind : std::uint8_t {
        Missing,
        Text,
        Int,
        Int64,
        Float,
        Double,
        Bool,
        Date,
        Time,
        DateTime,
        Duration,
        Error
    };

    TableData();
    TableData(const TableData&) = delete;
    TableData& operator=(const TableData&) = delete;
    ~TableData() override;

    void Set(int col, int row, int value) override;
    void Set(int col, int row, std::int64_t value) override;
    void Set(int col, int row, double value) override;
    void Set(int col, int row, const char* text) override;
    void Set(int col, int row, float value) override;

    void SetText(int col, int row, std::string_view text) override;
    void SetBool(int col, int row, bool value) override;
    void SetDate(int col, int row, std::int32_t days) override;
    void SetTime(int col, int row, std::int64_t microseconds) override;
    void SetDateTime(int col, int row, std::int64_t microseconds) override;
    void SetDuration(int col, int row, std::int64_t microseconds) override;
    void SetError(int col, int row, std::string_view text) override;
    void SetMissing(int col, int row) override;
    void SetSource(int col, int row, std::string_view source) override;
    void SetRowRun(int firstCol, int row, std::span<const float> values) override;
    void SetRowRun(int firstCol, int row, std::span<const double> values) override;
    void SetColumnRun(int col, int firstRow, std::span<const float> values) override;
    void SetColumnRun(int col, int firstRow, std::span<const double> values) override;

    /** Cells beyond a smaller size are gone. */
    void SetDataSize(int cols, int rows) override;
    int GetNumberOfColumns() override { return numCols; }
    int GetNumberOfRows() override { return numRows; }

    double GetFloatValue(int col, int row) override;
    /** The characters of the file where they are known; else numbers in the shortest form that reads back
     * the same, dates by ISO 8601, truth values as TRUE and FALSE. */
    std::string GetString(int col, int row) override;
    /** The same of the value, whatever characters the file had. */
    std::string GetValueText(int col, int row);
    /**
     * The numeric block begins behind the last column and row of leading identifiers, where a row or
     * column of identifiers has no number in it; false when the table holds no number at all.
     */
    bool GetDataOrigin(int* firstDataCol, int* firstDataRow) override;
    bool IsFloat(int col, int row) override;
    /** Also a cell of the empty text: that is how readers mark a missing one. */
    bool IsMissing(int col, int row) override;
    bool IsString(int col, int row) override;

    /** Of whichever type. */
    static bool IsNumber(Kind kind) { return kind >= Int && kind <= Double; }
    /** The type in which a cell came; Missing for one that was never set or lies outside. */
    Kind GetKind(int col, int row) const;
    /** The text of a Text or Error cell, valid until the table changes; empty for other kinds. */
    const char* GetText(int col, int row) const;
    /** The characters that the cell had in its file, where its value has others; null elsewhere. */
    const char* GetSource(int col, int row) const;
    /** The number of an Int or Int64 cell, a Bool as 0 or 1, days or microseconds of the others. */
    std::int64_t GetInt64(int col, int row) const;
    /** The number of a Float cell. */
    float GetFloat(int col, int row) const;

    /** The number of a Double or Float cell, and which of them it is; Missing for any other. */
    Kind FindNumber(int col, int row, double& value) const;
    /** The same of one without a source only. */
    Kind FindPlainNumber(int col, int row, double& value) const;

    /** The cells of a row one after the other, with nothing to be looked up for each: valid until the table
     * changes. */
    class RowNumbers;
    RowNumbers GetRowNumbers(int row) const;

    /** Hands a cell on, as what it is and with its source, to another place. */
    void CopyCell(int col, int row, CellOutput& output, int toCol, int toRow) const;

    /** Back to an empty table. */
    void Clear();

    /**
     * What the table's memory is charged to before it is taken; a cell beyond it raises karta::BudgetExceeded
     * out of Set. The budget stays its owner's and must outlive the table, or be taken away with null.
     */
    void SetBudget(karta::Budget* newBudget);

private:
    // One word a cell, so that tables of many small cells stay small: the kind in the low bits, and above
    // them the number itself (Int, Float) or the place of the text or wide number in the arena. A cell with a
    // source has the highest bit set, and its content, in eight bytes, in front of the source in the arena.
    using Cell = std::uint64_t;
    struct Row {
        Cell* cells = nullptr;
        int count = 0;      // cells in use
        int capacity = 0;   // cells that there is room for
        int tail = NoTail;  // the place in `tails` of what stands far behind them
    };
    static constexpr int NoTail = -1;
    /** A cell that stands far behind its row's others, and its column. */
    struct FarCell {
        int col;
        Cell cell;
    };

    // The kind of a cell lies in the low bits of its word; a place in memory has as many bits to spare.
    static constexpr unsigned int KindBits = 4;
    static constexpr std::uint64_t KindMask = (1U << KindBits) - 1;
    // A cell that has a source too.
    static constexpr std::uint64_t SourceBit = std::uint64_t{1} << 63;

    void Put(int col, int row, Kind kind, std::uint64_t content);
    void PutAt(int col, int row, Kind kind, const char* place);
    void PutText(int col, int row, Kind kind, std::string_view text);
    void PutInt64(int col, int row, Kind kind, std::int64_t value);
    static std::uint64_t ContentOf(Cell cell);
    std::uint64_t GetContent(int col, int row) const { return ContentOf(Find(col, row)); }
    static Kind NumberOf(Cell cell, double& value);
    template <class Number>
    Number GetWide(int col, int row) const;
    Cell Find(int col, int row) const;
    Cell* Make(int col, int row);
    Cell* MakeRun(int firstCol, int row, std::size_t count);
    Cell* MakeFar(Row& row, int col);
    void TakeFarCells(Row& row, int count);
    bool IsFar(const Row& row, int col) const;
    void ExtendRows(int count);
    int RoomFor(const Row& row, int count) const;
    void GrowRow(Row& row, int count);
    Cell* TakeCells(std::size_t count);

    int numCols = 0;
    int numRows = 0;
    std::vector<Row> rows;
    std::vector<std::vector<FarCell>> tails;
    karta::Budget* budget = nullptr;
    TextArena texts;
    std::vector<TableBlock<Cell>> blocks;
    int nextBlockCells = 0;
    Cell* nextCell = nullptr;
    std::size_t cellsLeft = 0;
};

/** Of the cells of a row: what number one is. */
class TableData::RowNumbers {
public:
    /** As FindNumber and FindPlainNumber of the table. */
    Kind Find(int col, double& value) const {
        const Cell cell = At(col);
        return (cell & SourceBit) != 0 ? NumberOf(cell, value) : FindAsItStands(cell, value);
    }
    Kind FindPlain(int col, double& value) const {
        const Cell cell = At(col);
        return (cell & SourceBit) != 0 ? Missing : FindAsItStands(cell, value);
    }
    /** Whether it is nothing here, and what it is the table has to be asked: there may be cells far behind
     * the others. */
    bool IsBeyond(int col) const { return col > count; }

private:
    friend class TableData;
    RowNumbers(const Cell* rowCells, int cellCount) : cells(rowCells), count(cellCount) {}

    // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): a row without cells has all columns beyond them
    Cell At(int col) const { return IsBeyond(col) ? Cell{Missing} : cells[col - 1]; }
    static Kind FindAsItStands(Cell cell, double& value) {
        const auto kind = static_cast<Kind>(cell & KindMask);
        if (kind == Double) {
            // NOLINTNEXTLINE(performance-no-int-to-ptr): what a cell's word holds of a double is its place
            std::memcpy(&value, reinterpret_cast<const char*>(cell >> KindBits), sizeof value);
            return kind;
        }
        value = std::bit_cast<float>(static_cast<std::uint32_t>(cell >> KindBits));
        return kind == Float ? Float : Missing;
    }

    const Cell* cells;
    int count;
};

inline TableData::RowNumbers TableData::GetRowNumbers(int row) const {
    if (row < 1 || static_cast<std::size_t>(row) > rows.size()) {
        return {nullptr, 0};
    }
    const Row& place = rows[static_cast<std::size_t>(row) - 1];
    return {place.cells, place.count};
}
