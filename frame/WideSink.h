#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "base/TextList.h"
#include "frame/ReadSpreadSheetData.h"

/**
 * A sink that keeps types: what a cell was in its file arrives as that. The calls have names of their own, so
 * that none is chosen by accident in place of a Set. Columns come first and rows second, both from 1.
 *
 * Plain numbers arrive by Set, as everywhere.
 */
class KARTA_EXPORT WideSink : public virtual ReadSpreadSheetData {
public:
    /** Any bytes, also the empty text, which is not a missing cell. */
    virtual void SetText(int col, int row, std::string_view text) = 0;
    /**
     * A text of a list, which stays where it is while cells of it come: a sink needs to look at each text
     * once only. As a rule it is set like any other.
     */
    virtual void SetListedText(int col, int row, const TextList& list, std::size_t place);
    virtual void SetBool(int col, int row, bool value) = 0;
    /** Days since 1970-01-01. */
    virtual void SetDate(int col, int row, std::int32_t days) = 0;
    /** Microseconds since midnight. */
    virtual void SetTime(int col, int row, std::int64_t microseconds) = 0;
    /** Microseconds since 1970-01-01 00:00, without a zone. */
    virtual void SetDateTime(int col, int row, std::int64_t microseconds) = 0;
    /** Microseconds, of either sign. */
    virtual void SetDuration(int col, int row, std::int64_t microseconds) = 0;
    /** A cell that holds an error, as its text: "#N/A". */
    virtual void SetError(int col, int row, std::string_view text) = 0;
    virtual void SetMissing(int col, int row) = 0;

    /** Numbers side by side in one row, from `firstCol` on. */
    virtual void SetRowRun(int firstCol, int row, std::span<const float> values) = 0;
    virtual void SetRowRun(int firstCol, int row, std::span<const double> values) = 0;
    /** Numbers below each other in one column, from `firstRow` on. */
    virtual void SetColumnRun(int col, int firstRow, std::span<const float> values) = 0;
    virtual void SetColumnRun(int col, int firstRow, std::span<const double> values) = 0;

    /**
     * The characters that a cell, which is set already, had in its file, where its value would be written
     * with others: "1.50", "+5", "NA" for a missing one. For sinks that write texts; others may forget them.
     */
    virtual void SetSource(int col, int row, std::string_view source);

    /** Rows up to this one are final: a sink that writes may let go of them. */
    virtual void EndRow(int row);
    /**
     * Whether the cells of earlier rows may be set again: a reader that learns late what a column is converts
     * it anew. One that lets go of rows, or wants the first ones only, says no; what the first rows told then
     * holds for all.
     */
    virtual bool KeepsRows() const;
    /**
     * Of a sink that lets go of rows: whether what a reader guesses from the file's beginning must be what
     * all of the file says, so that it looks through the file before the first row.
     */
    virtual bool WantsWholeEvidence() const;
    /** Whether long runs down a column are taken faster than runs along a row; only for one that keeps rows.
     */
    virtual bool PrefersColumns() const;
    /**
     * Whether a row of texts is wanted that only repeat the axis, one a point: "t 400.5". A sink that takes
     * the axis says no.
     */
    virtual bool WantsPointNames() const;
};
