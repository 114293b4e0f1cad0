#include "process/SampleRow.h"

#include "base/NumberParser.h"

void SampleRow::Put(int col, std::string_view field) {
    const std::string_view text = TrimSpace(field);
    if (text.empty()) {
        PutMissing(col);
        return;
    }
    double value = 0.0;
    if (ParseDouble(text, value) != text.size()) {
        Flush();
        output.Text(col, row, field);
        ++texts;
    } else {
        PutNumber(col, value);
    }
}

void SampleRow::PutMissing(int col) {
    Flush();
    output.Missing(col, row);
}

void SampleRow::Flush() {
    if (!run.empty()) {
        output.RowRun(firstCol, row, run);
        run.clear();
    }
    firstCol = 0;
}
