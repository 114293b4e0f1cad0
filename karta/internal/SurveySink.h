#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "karta/internal/RowWindows.h"
#include "karta/internal/TablePlan.h"

namespace karta {

/**
 * The first of two reads of a table that is handed out in pieces: finds out what its columns are. The first
 * rows are kept, with the heads among them; of the rows behind, once they are final and many, only what they
 * tell. A small table, or one whose reader says of no row that it is final, is all there at the end.
 */
class SurveySink final : public RowWindows {
public:
    /**
     * `header` as of TableSink. About so many bytes of rows are kept at once, and `rowsOfBatch` rows in any
     * case: a table that is no longer is one piece.
     */
    SurveySink(std::shared_ptr<ReadContext> readContext, ReadControl& readControl,
               std::optional<int> headerRow, std::int64_t rowsOfBatch, std::size_t mostHeldBytes);

    void EndRow(int row) override;
    void SetDataSize(int cols, int rows) override;

    /** Whether all rows were kept: then Finish makes the table. Else Plan tells what it is to be. */
    bool IsWhole() const { return !hasLetGo; }
    Table Finish() { return first.Finish(); }
    /** Nothing where the table can only be read as a whole. */
    std::optional<TablePlan> Plan();

private:
    Window FindWindow(int row) override;
    bool IsHeadThere(int row) const;
    void LetGo(int row);

    std::int64_t leastRows;  // that are kept whatever they take
    std::size_t mostHeld;
    TableSink first;
    std::optional<TableSink> further;
    CellStore kept;
    TableEvidence evidence;
    bool hasLetGo = false;
    bool isLate = false;  // a row that was let go of was set again
    int offset = 0;       // rows that are in `first` alone, or that were let go of
};

}  // namespace karta
