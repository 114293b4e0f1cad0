#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "base/ReadContext.h"
#include "base/TableShape.h"
#include "frame/CellOutput.h"
#include "frame/CellRunSink.h"
#include "text/ReportCells.h"

/** What a row of a turned report comes from. */
struct ReportRow {
    /** A column of the report, from 1; 0: no column. */
    int column = 0;
    /** In place of a column: the mean of the cells of two, under this name in the first line. */
    const char* meanName = nullptr;
    int start = 0;
    int stop = 0;
};

/**
 * Hands the lines of a report on as columns. A sink that takes whole columns best gets each as soon as its
 * line is there, so that nothing else of the report is in memory; any other one gets all of them at the end,
 * some rows at a time.
 */
class TurnedReport {
public:
    /** Of a report with so many columns; those that a wider one has more come behind the others. */
    using RowsOf = std::function<std::vector<ReportRow>(int cols)>;

    /**
     * The context, the rows and the sink stay the caller's. `width`: how many cells most lines have. `shape`:
     * the turned table's.
     */
    TurnedReport(karta::ReadContext& readContext, std::size_t width, RowsOf rowsOfReport,
                 karta::TableShape turnedShape, ReadSpreadSheetData& tableSink);

    /** What the report is read into. */
    ReportCells& GetCells() { return cells; }
    /** Nothing was handed on, and the report comes once more. */
    void StartOver();
    /** Behind the last line. */
    void Finish();

private:
    void PutLines();
    void PutLine(int line, int firstRow, int lastRow);
    const ReportCell* FindCell(int line, std::span<const ReportCell> from, const ReportRow& row);
    const ReportCell* MakeMean(int line, std::span<const ReportCell> from, const ReportRow& row);
    bool PutWritten(int line);
    std::size_t AppendWritten(std::size_t size, const char* from, std::size_t count);
    std::size_t AppendNumber(std::size_t size, const ReportCell& cell);
    std::size_t AppendText(std::size_t size, const ReportCell& cell);
    void MakeRoomBehind(std::size_t size, std::size_t more);
    void PutCells(int line, int firstRow);
    void PutCell(const ReportCell& cell, int line, int row);

    karta::ReadContext& context;
    RowsOf rowsOf;
    karta::TableShape shape;
    ReadSpreadSheetData& sink;
    CellOutput output;
    CellRunSink* runs;  // null where the sink doesn't take them best
    bool takesColumns;
    ReportCells cells;
    int cols = 0;
    std::vector<ReportRow> rows;
    bool hasBegun = false;
    // Of the line at hand.
    std::vector<const ReportCell*> column;
    std::vector<ReportCell> means;  // there is room for those of all rows
    std::vector<double> numbers;
    std::vector<std::uint8_t> decimals;
    std::vector<char> written;
    std::vector<std::uint32_t> ends;
    std::vector<WrittenKind> kinds;
};
