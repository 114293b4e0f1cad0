#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "base/LessIgnoringCase.h"
#include "process/BrooksideFileSet.h"
#include "process/BrooksidePhases.h"

class ReadSpreadSheetData;

/** Table columns by variable names, which are the same in any case. */
using BrooksideVariables = std::map<std::string, int, LessIgnoringCase>;

/** The variables of a tool's chamber in the headers of data files. */
class BrooksideHeader {
public:
    /** Columns of the table. */
    enum Column { ColumnWafer = 1, ColumnPhase = 2, ColumnTime = 3 };
    /** Where a field of a sample line goes. */
    struct Mapping {
        int field;
        int col;
    };

    /** Only variables whose names begin with this letter, in any case, belong to the log. */
    explicit BrooksideHeader(char chamber) : chamberLetter(chamber) {}

    /** Reads a data file up to its header and maps its fields. Raises BrooksideFailure. */
    void Read(BrooksideStream& stream, const std::string& dataFile);

    /** In ascending order of the fields; for the data file read last. */
    const std::vector<Mapping>& GetMap() const { return map; }
    /** Those of all data files read so far. */
    const BrooksideVariables& GetVariables() const { return variables; }
    int CountColumns() const { return static_cast<int>(variables.size()) + ColumnTime; }

private:
    int ColumnOf(std::string_view name);

    char chamberLetter;
    BrooksideVariables variables;
    std::vector<Mapping> map;
};

/** Copies the lines that a log's phases name from its data files into the table. */
class BrooksideSamples {
public:
    BrooksideSamples(const BrooksideFileSet& set, char chamber, ReadSpreadSheetData& target,
                     std::string& warningText)
        : files(set), header(chamber), sink(target), warnings(warningText) {}

    /** Raises BrooksideFailure. `lastRow` is the table's last row, as the phases have it. */
    void Read(std::span<const PhaseEntry> entries, std::int64_t lastRow);

    const BrooksideVariables& GetVariables() const { return header.GetVariables(); }
    /** A later data file made the table larger. */
    bool HasDifferentVariables() const { return differentVariables; }

private:
    void ReadDataFile(std::span<const PhaseEntry> entries, bool isFirst);
    void ReadEntry(BrooksideStream& stream, const PhaseEntry& entry, std::int64_t& line);
    void SetSample(std::string_view text, const PhaseEntry& entry, std::int64_t row);
    void SetWithoutData(std::span<const PhaseEntry> entries);
    void CheckRow(std::int64_t row) const;
    std::int64_t FindBelievableEnd(std::span<const PhaseEntry> entries) const;
    [[noreturn]] void FailAtEndOfFile() const;

    /**
     * Lines of data files that aren't there can't be checked against a size, so all of them together are
     * believed up to the length of a very long log.
     */
    static constexpr std::int64_t MaxRowsWithoutData = 1'000'000;

    const BrooksideFileSet& files;
    BrooksideHeader header;
    ReadSpreadSheetData& sink;
    std::string& warnings;
    bool differentVariables = false;
    std::int64_t tableEnd = 0;       // the last row that the sink is told of
    std::int64_t believableEnd = 0;  // and the last that the data files could fill
    std::int64_t rowsWithoutDataLeft = MaxRowsWithoutData;
    std::string fileName;  // of the data file being read
};
