#pragma once

#include <functional>
#include <stop_token>

#include "tools/Progress.h"
#include "tools/ReadRequest.h"
#include "tools/RowFilter.h"

/**
 * What goes on around a read: progress, Ctrl-C, and an early end. In the classic reading readers ask for the
 * next row; in the complete one they say which rows are final, and the read is stopped behind the last one
 * that is wanted.
 */
class ReadControl {
public:
    /** Rows up to `rowsOfHead` are of use even if they aren't wanted: they name the columns. */
    explicit ReadControl(const ReadRequest& request, int rowsOfHead = 0);
    ReadControl(const ReadControl&) = delete;
    ReadControl& operator=(const ReadControl&) = delete;

    /** For the context of the read. */
    std::stop_token GetStopToken() const { return stop.get_token(); }

    /** -1 ends the read: the user interrupted, or no further row is wanted. */
    int NextRowToRead(int row, int rows);
    /** Rows up to this one are final, of so many that are known of. */
    void EndRow(int row, int rows);
    /** The reader says how large the table is, perhaps on the way. */
    void Resize(int rows);
    bool WasResized() const { return wasResized; }
    void ShowShare(double share) { progress.ShowShare(share); }

    /** Whether a cell of this row can be of use. */
    bool IsOfUse(int row) const { return row <= lastOfUse; }
    int GetLastOfUse() const { return lastOfUse; }
    bool WantsFirstRowsOnly() const { return !filter.IsAll(); }
    /** Whether the read was stopped because rows followed behind the last one of use. */
    bool HasEnough() const { return hasEnough; }

private:
    RowFilter filter;
    int headRows;
    int lastOfUse;
    bool hasEnough = false;
    bool wasResized = false;
    Progress progress;
    std::stop_source stop;
    std::stop_callback<std::function<void()>> onInterrupt;
};
