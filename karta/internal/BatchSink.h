#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <memory>

#include "karta/internal/RowWindows.h"
#include "karta/internal/TablePlan.h"

namespace karta {

/**
 * The second of two reads of a table that is handed out in pieces: each goes out once its rows are final, and
 * is let go of.
 */
class BatchSink final : public RowWindows {
public:
    using BatchFunction = std::function<bool(Table& batch)>;

    /**
     * All but the context stay the caller's. Pieces have `rowsOfBatch` rows, at least 1. Where `use` says no,
     * or raises, the read is stopped as one that has enough.
     */
    BatchSink(std::shared_ptr<ReadContext> readContext, ReadControl& readControl, const TablePlan& tablePlan,
              std::int64_t rowsOfBatch, const BatchFunction& use);

    void EndRow(int row) override;

    /** Behind the read: hands out what isn't yet. Raises ChangedMeanwhile. */
    void Finish();
    /** What `use` has raised, which is its caller's; null: nothing. */
    const std::exception_ptr& GetRaised() const { return raised; }

private:
    Window FindWindow(int row) override;
    void HandOutUpTo(std::int64_t dataRows);
    void HandOut(std::int64_t windowNumber);
    bool Use(Table& batch);

    const TablePlan& plan;
    std::int64_t batchRows;
    std::int64_t windowRows;  // a multiple of them: small batches are made together
    const BatchFunction& function;
    std::map<std::int64_t, std::unique_ptr<TableSink>> windows;  // those that rows have come for
    std::int64_t nextWindow = 0;
    bool isDone = false;
    std::exception_ptr raised;
};

}  // namespace karta
