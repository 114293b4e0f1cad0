#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "base/BelievedCount.h"
#include "base/LessIgnoringCase.h"
#include "base/ReadContext.h"
#include "process/BrooksideFileSet.h"
#include "process/BrooksidePhases.h"
#include "process/SampleRow.h"

class ReadSpreadSheetData;

/** Table columns by variable names, which are the same in any case. */
using BrooksideVariables = std::map<std::string, int, LessIgnoringCase>;

/** The variables of a tool's chambers in the headers of data files. */
class BrooksideHeader {
public:
    /** Columns of the table. */
    enum Column { ColumnWafer = 1, ColumnPhase = 2, ColumnTime = 3 };
    /** Stands for all letters: where a recipe has no name, the log's variables can't be told from others. */
    static constexpr char AllChambers = '*';
    /** Where a field of a sample line goes. */
    struct Mapping {
        int field;
        int col;
    };

    /** Only variables whose names begin with one of these letters, in any case, belong to the log. */
    explicit BrooksideHeader(std::string chambers) : chamberLetters(std::move(chambers)) {}

    /** Reads a data file up to its header and maps its fields. Raises BrooksideFailure. */
    void Read(BrooksideStream& stream, const std::string& dataFile);

    /** In ascending order of the fields; for the data file read last. */
    const std::vector<Mapping>& GetMap() const { return map; }
    /** Those of all data files read so far. */
    const BrooksideVariables& GetVariables() const { return variables; }
    /** What other chambers measured. */
    const std::set<std::string, LessIgnoringCase>& GetOthers() const { return others; }
    int CountColumns() const { return static_cast<int>(variables.size()) + ColumnTime; }

private:
    bool IsOfLog(std::string_view name) const;
    int ColumnOf(std::string_view name);

    std::string chamberLetters;
    BrooksideVariables variables;
    std::set<std::string, LessIgnoringCase> others;
    std::vector<Mapping> map;
};

/**
 * Copies the lines that a log's phases name from its data files into the table.
 *
 * The classic reading passes through each data file once: an entry that begins before the present line begins
 * there. The complete one goes back, so that every entry has its own lines, and reads what can be read.
 */
class BrooksideSamples {
public:
    /** All stay the caller's. */
    BrooksideSamples(const BrooksideFileSet& set, std::string chambers, karta::ReadContext& readContext,
                     std::string& warningText)
        : files(set), context(readContext), header(std::move(chambers)), warnings(warningText) {}

    /** The classic reading. Raises BrooksideFailure. `lastRow` is the table's last row by the phases. */
    void Read(std::span<const PhaseEntry> entries, std::int64_t lastRow, ReadSpreadSheetData& sink);

    /**
     * The complete reading's look at the data files: cuts entries to the lines that are there and takes out
     * those that have none, so that the table's rows can be given; the columns are known afterwards.
     */
    void FitToData(std::vector<PhaseEntry>& entries);
    /** The complete reading, of entries that fit. */
    void ReadCompletely(std::span<const PhaseEntry> entries, std::int64_t lastRow, ReadSpreadSheetData& sink);

    // The names of the first columns.
    static constexpr const char* WaferName = "Wafer (Batch)";
    static constexpr const char* PhaseName = "Interval (Phase)";
    static constexpr const char* TimeName = "Time";

    const BrooksideHeader& GetHeader() const { return header; }
    /** A later data file made the table larger. */
    bool HasDifferentVariables() const { return differentVariables; }

private:
    // A line of a data file and where it begins.
    struct LineMark {
        std::int64_t line;
        std::size_t offset;
    };

    void ReadDataFile(std::span<const PhaseEntry> entries, bool isFirst, ReadSpreadSheetData& sink);
    void ReadEntry(BrooksideStream& stream, const PhaseEntry& entry, std::int64_t& line,
                   ReadSpreadSheetData& sink);
    void SetSample(std::string_view text, const PhaseEntry& entry, std::int64_t row,
                   ReadSpreadSheetData& sink) const;
    void SetClassicCell(int col, int row, std::string_view field, bool timesAreLost,
                        ReadSpreadSheetData& sink) const;
    static void SetClassicNumber(int col, int row, float number, bool timesAreLost,
                                 ReadSpreadSheetData& sink);
    void SetWithoutData(std::span<const PhaseEntry> entries, ReadSpreadSheetData& sink);
    void GrowByRow(ReadSpreadSheetData& sink, int row) const;
    void CheckRow(std::int64_t row) const;
    std::int64_t FindBelievableEnd(std::span<const PhaseEntry> entries) const;
    [[noreturn]] void FailAtEndOfFile() const;

    bool EnterDataFile(BrooksideStream& stream, const std::string& name);
    void FitGroup(std::span<PhaseEntry> entries);
    void ReadDataFileCompletely(std::span<const PhaseEntry> entries, CellOutput& output, SampleRow& sample);
    void SetNames(CellOutput& output) const;
    void SetCompleteSample(std::string_view text, int row, SampleRow& sample);
    void AddNote(const char* code, std::uint64_t count, std::string place, std::string text);

    const BrooksideFileSet& files;
    karta::ReadContext& context;
    BrooksideHeader header;
    std::string& warnings;
    bool differentVariables = false;
    std::int64_t tableEnd = 0;       // the last row that the sink is told of
    std::int64_t believableEnd = 0;  // and the last that the data files could fill
    // Lines of data files that aren't there can't be checked against a size.
    std::int64_t rowsWithoutDataLeft = BelievedOfAnyFile;
    std::uint64_t shortLines = 0;
    bool rowsInOrder = false;  // whether the complete reading's rows come from the top down
    std::string fileName;      // of the data file being read
};
