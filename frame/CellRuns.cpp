#include "frame/CellRuns.h"

CellRuns::CellRuns(ReadSpreadSheetData& sink, CellOutput& cellOutput)
    : output(cellOutput), cellRuns(dynamic_cast<CellRunSink*>(&sink)) {
    // A sink that lets go of rows has to get them in their order.
    if (cellRuns != nullptr && !(cellRuns->PrefersCellRuns() && output.KeepsRows())) {
        cellRuns = nullptr;
    }
}

// False where cells so far to the right aren't gathered.
bool CellRuns::TakeRoom(std::size_t place) {
    if (place >= MostColumns) {
        return false;
    }
    room = place + 1;
    runs.resize(room);
    return true;
}

void CellRuns::ChangeList(const TextList& textList) {
    EndAll();
    list = &textList;
}

void CellRuns::Hand(int col, Run& run) {
    const auto count = static_cast<std::size_t>(run.count);
    run.count = 0;
    if (count == 0) {
        return;
    }
    if (run.kind == Kind::Numbers) {
        cellRuns->SetCellRun(col, run.firstRow, std::span<const double>(run.numbers).first(count), {});
    } else {
        cellRuns->SetListedRun(col, run.firstRow, *list,
                               std::span<const std::uint32_t>(run.places).first(count));
    }
}

void CellRuns::EndAll() {
    for (std::size_t place = 0; place < runs.size(); ++place) {
        Hand(static_cast<int>(place) + 1, runs[place]);
    }
}
