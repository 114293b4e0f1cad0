#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "frame/CellOutput.h"
#include "frame/CellRunSink.h"

/**
 * The plain numbers of a file that has them row by row, on their way to a table of columns: so many columns
 * are written at as many places of memory, more than the processor's caches hold side by side. Where the sink
 * takes runs down a column faster, some rows' numbers are gathered and handed out so; to any other sink each
 * goes at once. A cell of another kind is for the caller to hand out, once End was told of its column.
 */
class NumberRuns {
public:
    /** Both stay the caller's; the output is that of the sink. */
    NumberRuns(ReadSpreadSheetData& sink, CellOutput& cellOutput);
    NumberRuns(const NumberRuns&) = delete;
    NumberRuns& operator=(const NumberRuns&) = delete;

    /** Columns and rows count from 1. */
    void Put(int col, int row, double number) {
        if (cellRuns == nullptr) {
            output.Number(col, row, number);
        } else {
            Gather(col, row, number);
        }
    }
    /** The next cell of this column is set by another road. */
    void End(int col) {
        const std::size_t place = static_cast<std::size_t>(col) - 1;
        if (place < room && runs[place].count > 0) {
            Hand(col, runs[place]);
        }
    }
    /** Hands out all that is left; nothing else does. */
    void EndAll();

private:
    static constexpr int LongestRun = 32;
    // All together stay in the nearest caches.
    static constexpr std::size_t MostColumns = 256;

    struct Run {
        int firstRow = 0;
        int count = 0;
        std::array<double, LongestRun> numbers;
    };

    void Gather(int col, int row, double number);
    void Hand(int col, Run& run);

    CellOutput& output;
    CellRunSink* cellRuns;  // null where the sink takes them no faster
    std::vector<Run> runs;  // of the columns up to the last one so far
    std::size_t room = 0;   // so many
};
