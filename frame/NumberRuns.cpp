#include "frame/NumberRuns.h"

#include <span>

NumberRuns::NumberRuns(ReadSpreadSheetData& sink, CellOutput& cellOutput)
    : output(cellOutput), cellRuns(dynamic_cast<CellRunSink*>(&sink)) {
    // A sink that lets go of rows has to get them in their order.
    if (cellRuns != nullptr && !(cellRuns->PrefersCellRuns() && output.KeepsRows())) {
        cellRuns = nullptr;
    }
}

bool NumberRuns::MakeRoom(std::size_t place) {
    if (cellRuns == nullptr || place >= MostColumns) {
        return false;
    }
    runs.resize(place + 1);
    return true;
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
