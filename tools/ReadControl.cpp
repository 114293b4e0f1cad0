#include "tools/ReadControl.h"

#include <algorithm>

#include "tools/Interrupt.h"

ReadControl::ReadControl(const ReadRequest& request, int rowsOfHead)
    : filter(request.want),
      headRows(rowsOfHead),
      lastOfUse(std::max(filter.GetLast(), headRows)),
      progress(!request.quiet),
      onInterrupt(Interrupt::GetStopToken(), [this] { stop.request_stop(); }) {}

int ReadControl::NextRowToRead(int row, int rows) {
    progress.Show(row, rows);
    return row < headRows && !Interrupt::IsRequested() ? row + 1 : filter.NextRowToRead(row);
}

void ReadControl::EndRow(int row, int rows) {
    // A table that is as long as what is there of it says nothing about its end.
    progress.Show(row, rows > row ? rows : 0);
    if (row > lastOfUse) {
        hasEnough = true;
        stop.request_stop();
    }
}

void ReadControl::Resize(int rows) {
    // A reader that asks for no row can still be stopped where it grows the table.
    Interrupt::ThrowIfRequested();
    wasResized = true;
    progress.Show(rows, 0);
}
