#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "frame/ReadSpreadSheetData.h"
#include "frame/WideSink.h"

/**
 * The one way by which readers hand out cells with types. Where the sink is a WideSink, each arrives as what
 * it is; any other sink gets the classic calls that come nearest: "TRUE", a date's text, an error's text,
 * nothing for a missing cell. Columns come first and rows second, both from 1.
 */
class KARTA_EXPORT CellOutput final {
public:
    /** The sink stays the caller's and must outlive this. */
    explicit CellOutput(ReadSpreadSheetData& readerSink);

    void Text(int col, int row, std::string_view text);
    /** The same without the copy that sinks of classic calls need of a text without a NUL behind it. */
    void TerminatedText(int col, int row, const std::string& text);
    /** A text of a list that many cells refer to, by its place there. */
    void ListedText(int col, int row, const TextList& list, std::size_t place);
    void Number(int col, int row, double value) { sink.Set(col, row, value); }
    void Number(int col, int row, float value) { sink.Set(col, row, value); }
    /** A double where that is exact, else a 64-bit number. */
    void Integer(int col, int row, std::int64_t value);
    /** The same; a text above the largest signed number. */
    void Unsigned(int col, int row, std::uint64_t value);
    void Bool(int col, int row, bool value);
    /** Days since 1970-01-01. */
    void Date(int col, int row, std::int32_t days);
    /** Microseconds since midnight. */
    void Time(int col, int row, std::int64_t microseconds);
    /** Microseconds since 1970-01-01 00:00. */
    void DateTime(int col, int row, std::int64_t microseconds);
    void Duration(int col, int row, std::int64_t microseconds);
    void Error(int col, int row, std::string_view text);
    void Missing(int col, int row);

    void RowRun(int firstCol, int row, std::span<const float> values);
    void RowRun(int firstCol, int row, std::span<const double> values);
    void ColumnRun(int col, int firstRow, std::span<const float> values);
    void ColumnRun(int col, int firstRow, std::span<const double> values);

    /** The characters in the file of a cell that is set, where its value would be written with others. */
    void Source(int col, int row, std::string_view source) {
        if (wide != nullptr) {
            wide->SetSource(col, row, source);
        }
    }

    /** Rows up to this one are final. */
    void EndRow(int row);
    /** Whether the cells of earlier rows may be set again. */
    bool KeepsRows() const { return wide == nullptr || wide->KeepsRows(); }
    /** Whether the file is to be looked through before its first row, though rows aren't kept. */
    bool WantsWholeEvidence() const { return wide != nullptr && wide->WantsWholeEvidence(); }

    /** Whether long runs down a column are taken faster than runs along a row. */
    bool PrefersColumns() const { return wide != nullptr && wide->KeepsRows() && wide->PrefersColumns(); }

    /** Whether a row of texts is wanted that only repeat the axis, one a point. */
    bool WantsPointNames() const { return wide == nullptr || wide->WantsPointNames(); }

    /** Whether types and runs arrive. */
    bool IsWide() const { return wide != nullptr; }

private:
    ReadSpreadSheetData& sink;
    WideSink* wide;
    std::string terminated;  // a text with the NUL that the classic call wants
};
