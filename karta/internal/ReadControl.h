#pragma once

#include <functional>
#include <stop_token>

#include "base/Export.h"
#include "karta/internal/RowFilter.h"

/** Who looks on while a read goes on; each may be empty. */
struct ReadWatch {
    std::stop_token stop;
    std::function<void(int row, int rows)> onRow;  // rows: 0 where it isn't known
    std::function<void(double share)> onShare;
};

/**
 * What goes on around a read: progress, a stop from outside, and an early end. In the classic reading readers
 * ask for the next row; in the complete one they say which rows are final, and the read is stopped behind the
 * last one that is wanted.
 */
class KARTA_EXPORT ReadControl {
public:
    /** Rows up to `rowsOfHead` are of use even if they aren't wanted: they name the columns. */
    ReadControl(RowFilter wantedRows, ReadWatch readWatch, int rowsOfHead = 0);
    ReadControl(const ReadControl&) = delete;
    ReadControl& operator=(const ReadControl&) = delete;

    /** For the context of the read. */
    std::stop_token GetStopToken() const { return stop.get_token(); }
    /** Whether it was stopped from outside. */
    bool IsStopped() const { return watch.stop.stop_requested(); }

    /** -1 ends the read: it was stopped, or no further row is wanted. */
    int NextRowToRead(int row, int rows);
    /** Rows up to this one are final, of so many that are known of. */
    void EndRow(int row, int rows);
    /** The reader says how large the table is, perhaps on the way. Raises Stopped. */
    void Resize(int rows);
    bool WasResized() const { return wasResized; }
    bool WantsShare() const { return static_cast<bool>(watch.onShare); }
    void ShowShare(double share);

    /** Whether a cell of this row can be of use. */
    bool IsOfUse(int row) const { return row <= lastOfUse; }
    int GetLastOfUse() const { return lastOfUse; }
    bool WantsFirstRowsOnly() const { return !filter.IsAll(); }
    /** No further row is of use: the read is stopped. */
    void SetEnough();
    /** Whether the read was stopped because rows followed behind the last one of use. */
    bool HasEnough() const { return hasEnough; }

private:
    RowFilter filter;
    ReadWatch watch;
    int headRows;
    int lastOfUse;
    bool hasEnough = false;
    bool wasResized = false;
    std::stop_source stop;
    std::stop_callback<std::function<void()>> onStop;
};
