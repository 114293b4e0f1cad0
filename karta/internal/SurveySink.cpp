#include "karta/internal/SurveySink.h"

#include <algorithm>
#include <utility>

#include "karta/internal/GridHead.h"

namespace karta {

SurveySink::SurveySink(std::shared_ptr<ReadContext> readContext, ReadControl& readControl,
                       std::optional<int> headerRow, std::int64_t rowsOfBatch, std::size_t mostHeldBytes)
    : RowWindows(std::move(readContext), readControl),
      leastRows(std::max<std::int64_t>(headerRow.value_or(0), rowsOfBatch)),
      mostHeld(mostHeldBytes),
      first(context, headerRow),
      kept(*context) {}

RowWindows::Window SurveySink::FindWindow(int row) {
    if (!hasLetGo) {
        return {&first, 0, AllRows};
    }
    if (row <= offset) {
        isLate = true;
        return {nullptr, 0, offset};
    }
    if (!further) {
        further.emplace(context, static_cast<TableSink::RowsAbove>(offset));
    }
    return {&*further, offset, AllRows};
}

// Whether the rows up to this one show what the head is.
bool SurveySink::IsHeadThere(int row) const {
    if (row <= leastRows) {
        return false;
    }
    const TableShape& shape = context->shape;
    return shape.isKnown ? row >= shape.firstDataRow : row >= HeadRows::Most || filledRows > HeadRows::Filled;
}

void SurveySink::EndRow(int row) {
    control.EndRow(row, numRows);
    if (heldBytes > mostHeld && row > offset && lastRow <= row && (hasLetGo || IsHeadThere(row))) {
        LetGo(row);
    }
}

void SurveySink::LetGo(int row) {
    if (further) {
        further->Testify(kept, evidence);
        further.reset();
    }
    if (!hasLetGo) {
        hasLetGo = true;
        evidence.above = row;
    }
    offset = row;
    heldBytes = 0;
    LeaveWindow();
}

void SurveySink::SetDataSize(int cols, int rows) {
    isLate = isLate || (hasLetGo && (rows < offset || cols < lastCol));
    RowWindows::SetDataSize(cols, rows);
    if (!hasLetGo) {
        first.SetDataSize(cols, rows);
    } else if (further) {
        further->SetDataSize(cols, std::max(rows - offset, 0));
    }
}

std::optional<TablePlan> SurveySink::Plan() {
    if (isLate) {
        return {};
    }
    LetGo(numRows);
    evidence.rows = numRows;
    evidence.cols = numCols;
    return first.Plan(kept, evidence);
}

}  // namespace karta
