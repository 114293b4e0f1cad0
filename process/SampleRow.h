#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "frame/CellOutput.h"

/**
 * The complete reading's rule for the fields of a sample line of a process log: numbers are numbers, handed
 * out in runs, nothing is a missing cell, and everything else stays the text that it is. Counts what isn't a
 * number.
 */
class SampleRow {
public:
    /** `missing` is a number that stands for no value, where the format has one. */
    SampleRow(CellOutput& cells, std::optional<double> missing) : output(cells), missingMark(missing) {}

    void Begin(int tableRow) { row = tableRow; }
    void Put(int col, std::string_view field);
    void PutNumber(int col, double value) {
        if (missingMark && value == *missingMark) {
            PutMissing(col);
            return;
        }
        if (firstCol + static_cast<int>(run.size()) != col) {
            Flush();
            firstCol = col;
        }
        run.push_back(value);
    }
    void PutMissing(int col);
    /** The row's cells are all out; the row is final where the rows come in their order. */
    void End() { Flush(); }

    std::uint64_t CountTexts() const { return texts; }

private:
    void Flush();

    CellOutput& output;
    std::optional<double> missingMark;
    int row = 0;
    int firstCol = 0;  // of the run
    std::vector<double> run;
    std::uint64_t texts = 0;
};
