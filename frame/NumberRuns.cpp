#include "frame/NumberRuns.h"

#include <span>

NumberRuns::NumberRuns(ReadSpreadSheetData& sink, CellOutput& cellOutput)
    : output(cellOutput), cellRuns(dynamic_cast<CellRunSink*>(&sink)) {
    // A sink that lets go of rows has to get them in their order.
    if (cellRuns != nullptr && !(cellRuns->PrefersCellRuns() && output.KeepsRows())) {
        cellRuns = nullptr;
    }
}

void NumberRuns::Gather(int col, int row, double number) {
    const std::size_t place = static_cast<std::size_t>(col) - 1;
    if (place >= room) {
        if (place >= MostColumns) {
            output.Number(col, row, number);
            return;
        }
        room = place + 1;
        runs.resize(room);
    }
    Run& run = runs[place];
    if (row - run.firstRow != run.count || run.count == LongestRun) {
        Hand(col, run);
        run.firstRow = row;
    }
    run.numbers[static_cast<std::size_t>(run.count++)] = number;
}

void NumberRuns::Hand(int col, Run& run) {
    const auto count = static_cast<std::size_t>(run.count);
    run.count = 0;
    if (count > 0) {
        cellRuns->SetCellRun(col, run.firstRow, std::span<const double>(run.numbers).first(count), {});
    }
}

void NumberRuns::EndAll() {
    for (std::size_t place = 0; place < runs.size(); ++place) {
        Hand(static_cast<int>(place) + 1, runs[place]);
    }
}
