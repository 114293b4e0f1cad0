#include "process/SampleBlock.h"

SampleBlock::SampleBlock(int cols, int rowCount)
    : rows(rowCount),
      columns(static_cast<std::size_t>(cols)),
      numbers(static_cast<std::size_t>(cols) * static_cast<std::size_t>(rowCount)) {}

void SampleBlock::Begin(int firstRow) {
    first = firstRow;
    for (Column& column : columns) {
        column.next = firstRow;
        column.others.clear();
    }
}

// A row that was left out is one in which nothing came; a cell of the present one is set anew.
void SampleBlock::Reach(Column& column, int row) {
    if (column.next < row) {
        column.others.push_back({column.next, row, Nothing, {}});
    } else if (!column.others.empty() && column.others.back().row == row) {
        column.others.pop_back();
    }
}

void SampleBlock::Put(CellRunSink& sink, CellOutput& output) const {
    const double* values = numbers.data();
    int col = 0;
    for (const Column& column : columns) {
        ++col;
        int row = first;
        const auto putNumbers = [&](int end) {
            if (end > row) {
                sink.SetCellRun(col, row, {values + (row - first), static_cast<std::size_t>(end - row)}, {});
            }
        };
        for (const Other& other : column.others) {
            putNumbers(other.row);
            if (other.kind == Text) {
                output.Text(col, other.row, other.text);
            } else if (other.kind == Missing) {
                output.Missing(col, other.row);
            }
            row = other.end;
        }
        putNumbers(column.next);
        values += rows;
    }
}
