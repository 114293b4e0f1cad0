#include "tools/StreamingSink.h"

#include <algorithm>
#include <numeric>
#include <vector>

#include "base/MemoryShare.h"
#include "tools/Interrupt.h"

namespace {

// Enough that most tables are small, and little beside the program itself.
constexpr std::size_t MostHeldBytes = std::size_t{8} << 20;

}  // namespace

StreamingSink::StreamingSink(ReadControl& readControl, ReadReport& readReport, const FormRequest& formRequest,
                             OutputFile* outputFile, int knownWidth, bool evidence)
    : control(readControl),
      report(readReport),
      form(formRequest),
      target(outputFile),
      wantsEvidence(evidence),
      width(knownWidth) {}

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

std::optional<RowTextForm> StreamingSink::GetRowTextForm() {
    if (!writer || !Writes()) {
        return std::nullopt;
    }
    return writer->GetRowTextForm(static_cast<std::size_t>(width));
}

void StreamingSink::PutRowTexts(int firstRow, int rows, int cols, std::string_view text) {
    Interrupt::ThrowIfRequested();
    if (firstRow - 1 > offset) {
        LetGo(firstRow - 1);
    }
    offset = firstRow - 1 + rows;
    Cover(cols, offset);
    if (Writes()) {
        target->Write(text);
    }
    control.EndRow(offset, GetNumberOfRows());
}

void StreamingSink::LetGo(int row) {
    if (width == 0) {
        width = GetNumberOfColumns();
    }
    if (Writes()) {
        held.SetDataSize(width, row - offset);
        MemoryShare memory(report.context, "The list of rows");
        memory.Add(sizeof(int) * static_cast<std::uint64_t>(row - offset));
        std::vector<int> rows(static_cast<std::size_t>(row - offset));
        std::iota(rows.begin(), rows.end(), 1);
        if (!writer) {
            form.shape = report.context == nullptr ? nullptr : &report.context->shape;
            writer.emplace(form, *target);
        }
        writer->Write(held, rows);
    }
    held.Clear();
    heldBudget.ReleaseMemory(heldBudget.GetMemory());
    heldBytes = 0;
    offset = row;
}

void StreamingSink::Finish(OutputFile& file) {
    if (IsSmall()) {
        target = &file;
        target->SetBudget(report.GetBudget());
        width = GetNumberOfColumns();
    }
    LetGo(std::max(GetNumberOfRows(), offset));
}
