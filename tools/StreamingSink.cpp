#include "tools/StreamingSink.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace {

// Enough that most tables are small, and little beside the program itself.
constexpr std::size_t MostHeldBytes = std::size_t{8} << 20;

}  // namespace

StreamingSink::StreamingSink(ReadControl& readControl, ReadReport& readReport, const FormRequest& formRequest,
                             OutputFile* outputFile, int knownWidth)
    : control(readControl), report(readReport), form(formRequest), target(outputFile), width(knownWidth) {}

void StreamingSink::Cover(int col, int row) {
    if (!hasBudget) {
        // The read has its context only once it has begun.
        hasBudget = true;
        if (const karta::Budget* const budget = report.GetBudget()) {
            heldBudget.SetLimit(budget->GetMemoryLimit());
            held.SetBudget(&heldBudget);
        }
        if (target != nullptr) {
            target->SetBudget(report.GetBudget());
        }
    }
    if (col > GetNumberOfColumns() || row > GetNumberOfRows()) {
        SpreadsheetSink::SetDataSize(std::max(col, GetNumberOfColumns()), std::max(row, GetNumberOfRows()));
    }
}

void StreamingSink::EndRow(int row) {
    control.EndRow(row, GetNumberOfRows());
    if (heldBytes > MostHeldBytes && row > offset && held.GetNumberOfRows() <= row - offset) {
        LetGo(row);
    }
}

void StreamingSink::SetDataSize(int cols, int rows) {
    control.Resize(rows);
    SpreadsheetSink::SetDataSize(std::max(cols, 0), std::max(rows, 0));
}

void StreamingSink::LetGo(int row) {
    if (width == 0) {
        width = GetNumberOfColumns();
    }
    if (Writes()) {
        held.SetDataSize(width, row - offset);
        std::vector<int> rows(static_cast<std::size_t>(row - offset));
        std::iota(rows.begin(), rows.end(), 1);
        WriteTable(held, rows, form, *target);
    }
    held.Clear();
    heldBudget.ReleaseMemory(heldBudget.GetMemory());
    heldBytes = 0;
    offset = row;
}

void StreamingSink::Finish() {
    LetGo(std::max(GetNumberOfRows(), offset));
}
