#include "karta/internal/ReadControl.h"

#include <algorithm>
#include <utility>

#include "base/ReadContext.h"

ReadControl::ReadControl(RowFilter wantedRows, ReadWatch readWatch, int rowsOfHead)
    : filter(std::move(wantedRows)),
      watch(std::move(readWatch)),
      headRows(rowsOfHead),
      lastOfUse(std::max(filter.GetLast(), headRows)),
      onStop(watch.stop, [this] { stop.request_stop(); }) {}

int ReadControl::NextRowToRead(int row, int rows) {
    if (watch.onRow) {
        watch.onRow(row, rows);
    }
    if (IsStopped()) {
        return -1;
    }
    return row < headRows ? row + 1 : filter.NextRowToRead(row);
}

void ReadControl::EndRow(int row, int rows) {
    if (watch.onRow) {
        // A table that is as long as what is there of it says nothing about its end.
        watch.onRow(row, rows > row ? rows : 0);
    }
    if (row > lastOfUse) {
        SetEnough();
    }
}

void ReadControl::SetEnough() {
    hasEnough = true;
    stop.request_stop();
}

void ReadControl::Resize(int rows) {
    // A reader that asks for no row can still be stopped where it grows the table.
    if (IsStopped()) {
        throw karta::Stopped();
    }
    wasResized = true;
    if (watch.onRow) {
        watch.onRow(rows, 0);
    }
}

void ReadControl::ShowShare(double share) {
    if (watch.onShare) {
        watch.onShare(share);
    }
}
