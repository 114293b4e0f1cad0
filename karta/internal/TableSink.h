#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/ReadContext.h"
#include "frame/CellRunSink.h"
#include "frame/WideSink.h"
#include "karta/Table.h"
#include "karta/internal/BlockStore.h"
#include "karta/internal/CellStore.h"
#include "karta/internal/CellVector.h"
#include "karta/internal/ColumnMaker.h"
#include "karta/internal/GridHead.h"
#include "karta/internal/ListedTexts.h"
#include "karta/internal/ReadControl.h"
#include "karta/internal/TablePlan.h"

namespace karta {

/**
 * The sink that makes a Table of what a reader pushes: cells by columns, and the runs of a block, of which
 * the reader's shape tells, as one matrix. One sink is for one read: Finish ends it. What it keeps is charged
 * to the budget of the read's context before it is taken.
 *
 * A reader that tells its shape before its first run has each array copied once.
 */
class TableSink final : public WideSink, public CellRunSink {
public:
    enum RowsAbove : int {};

    /**
     * The context is the reader's: its shape says what the rows and columns are, and it gets the notes.
     * `header`: the row of the columns' names, from 1; 0: there is none; nothing: as the reader's shape has
     * it, else as the cells tell.
     */
    explicit TableSink(std::shared_ptr<ReadContext> readContext, std::optional<int> headerRow = {});
    /** For some rows in the middle: so many of the grid are above them, the first one here counts as 1. */
    TableSink(std::shared_ptr<ReadContext> readContext, RowsAbove rowsAbove);
    /** For rows of data of a table that is planned; so many are expected. */
    TableSink(std::shared_ptr<ReadContext> readContext, const TablePlan& tablePlan, int rows);
    TableSink(const TableSink&) = delete;
    TableSink& operator=(const TableSink&) = delete;
    ~TableSink() override;

    void Set(int col, int row, int value) override { Set(col, row, std::int64_t{value}); }
    void Set(int col, int row, std::int64_t value) override;
    void Set(int col, int row, double value) override;
    /** The classic readers' empty text is a missing cell. */
    void Set(int col, int row, const char* text) override;
    void Set(int col, int row, float value) override;

    void SetText(int col, int row, std::string_view text) override;
    void SetListedText(int col, int row, const TextList& list, std::size_t place) override;
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
    void SetCellRun(int col, int firstRow, std::span<const double> values,
                    std::span<const std::uint8_t> decimals) override;
    void SetTextRun(int col, int firstRow, const TextRun& texts) override;
    void SetValueRun(int col, int firstRow, ValueRunKind kind, std::span<const std::int64_t> values) override;
    void SetListedRun(int col, int firstRow, const TextList& list,
                      std::span<const std::uint32_t> places) override;
    void ExpectRows(int rows) override {
        Announce(std::max(numCols, static_cast<int>(columns.size())), rows);
    }
    void LeaveCopying(RunCopying* copying) override { store.copying = copying; }
    bool SetWrittenRun(int col, int firstRow, const TextRun& texts,
                       std::span<const WrittenKind> kinds) override;
    /** Where they make no matrix. */
    bool PrefersCellRuns() const override { return !context->shape.HasBlock(); }
    /** The axis tells them. */
    bool WantsPointNames() const override { return false; }

    void SetDataSize(int cols, int rows) override;
    int GetNumberOfColumns() override { return numCols; }
    int GetNumberOfRows() override { return numRows; }

    /** Before the first cell: who is told how far the rows are, and whom readers ask for the next one. */
    void Watch(ReadControl& readControl) { control = &readControl; }
    int NextRowToRead(int row) override;
    void EndRow(int row) override;

    /**
     * The table of what was pushed, with the context's notes and shape. Once, after the reader's Read; raises
     * BudgetExceeded.
     */
    Table Finish();

    /** What the rows here tell, for a plan of the whole; then they aren't needed any more. */
    void Testify(CellStore& kept, TableEvidence& evidence) { Testify(kept, evidence, 0); }
    /**
     * In place of Finish, where these are the first rows of a table, those with its heads among them: the
     * plan of the whole. `further` tells of the rows behind. Nothing where that doesn't show what the whole
     * is.
     */
    std::optional<TablePlan> Plan(CellStore& kept, const TableEvidence& further);
    /**
     * In place of Finish, for rows of a planned table: so many. Raises ChangedMeanwhile where they don't fit
     * the plan.
     */
    Table FinishPlanned(const TablePlan& plan, int rows);

private:
    static constexpr int NoColumn = std::numeric_limits<int>::max();
    static constexpr int NotLooked = 0;
    template <class Number>
    static constexpr CellKind KindOf =
        sizeof(Number) == sizeof(float) ? CellKind::Float32 : CellKind::Float64;

    // Once in so many cells it is looked whether the read is to stop, whatever its reader does.
    static constexpr std::size_t CellsBetweenLooks = 1024;

    void Count(std::size_t cells) {
        untilLook -= static_cast<std::ptrdiff_t>(cells);
        if (untilLook <= 0) {
            Look();
        }
    }
    void Look();
    void Announce(int cols, int rows);
    bool Take(int col, int row);
    bool TakeRun(int col, int firstRow, std::size_t cells);
    CellVector& ColumnAt(int col);
    void AddColumns(int count);
    void Put(int col, int row, CellKind kind, std::uint64_t content);
    void PutBlockCell(int col, int row, CellKind kind, std::uint64_t content);
    template <class Number>
    void PutRowRun(int firstCol, int row, std::span<const Number> values);
    template <class Number>
    void PutColumnRun(int col, int firstRow, std::span<const Number> values);
    template <class Number>
    void PutBlockRun(int col, int row, std::span<const Number> values, bool isAcross);
    void LookAtShape();
    // That of most cells: a column that is there, beside any block.
    bool IsPlainPlace(int col, int row) const {
        return col < firstBlock && static_cast<std::size_t>(col) - 1 < columns.size() && row >= 1;
    }
    void CountPlain(int col, int row) {
        Count(1);
        numRows = numRows < row ? row : numRows;
        numCols = numCols < col ? col : numCols;
    }
    int FindFirstDataRow(const TableShape& shape) const;
    bool IsInBlock(int col) const { return col >= firstBlock && col <= lastBlock && firstBlock != NotLooked; }

    void Testify(CellStore& kept, TableEvidence& evidence, int firstPlace);
    bool PlanBlock(const TableEvidence& all, std::int64_t rows, int last);
    bool FitsPlan(const TablePlan& plan, int rows);
    void NoteErrors(std::uint64_t count, const std::string& first);

    void DissolveBlock();
    TableShape SettleShape(const std::vector<ColumnEvidence>& further = {});
    void GatherHeads(const TableShape& shape, int last);
    bool BringCellsIn();
    bool GatherBlock(int rows, int points);
    void MakeAxis(const TableShape& shape, int points, BlockParts& parts);
    Block MakeBlock(const TableShape& shape, int rows, int points);
    std::string GetHeadText(int col, int row) const;
    std::vector<ColumnMaker::Wanted> ListColumns(const TableShape& shape, TableParts& parts);
    void KeepHeads(const TableShape& shape, TableParts& parts);

    std::shared_ptr<ReadContext> context;
    std::optional<int> header;
    ReadControl* control = nullptr;
    int above = 0;  // rows of the grid above the first one here
    std::ptrdiff_t untilLook = CellsBetweenLooks;
    CellStore store;
    ListedTexts listedTexts;
    std::vector<std::uint32_t> codes;  // of the run at hand
    int numCols = 0;
    int numRows = 0;
    std::vector<CellVector> columns;
    // The block's place, once the shape is known: its columns, and its first row.
    int firstBlock = NotLooked;
    int lastBlock = 0;
    int firstBlockRow = 0;
    bool isPlanned = false;  // the reader's shape says nothing new then
    BlockStore block;
    std::string utf8;                 // of a text that came in another encoding
    std::map<int, CellVector> heads;  // rows above the block, in its columns; places from its first column
    std::uint64_t errors = 0;
    std::string firstError;
};

}  // namespace karta
