#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "process/BrooksideFields.h"
#include "process/BrooksideStream.h"

/**
 * The transition file of a process log, read line by line: what stands before the "File" line is passed
 * over, the "File" line tells where each phase has its columns, and every line behind it is a wafer. Double
 * quotes count nowhere.
 */
class BrooksideTransition {
public:
    /** The fields of a wafer line that don't belong to a phase. */
    enum Field {
        FieldDataFile = 1,
        FieldFrom = 2,
        FieldTo = 3,
        FieldRecipe = 4,
        FieldLot = 5,
        FieldSlot = 6,
        FieldWafer = 7,
        FieldOperation = 8,
        FieldDuration = 9
    };
    /** Wafer lines whose id is no wafer. */
    struct Skipped {
        int unknown = 0;
        int none = 0;
        int questionMark = 0;
        int empty = 0; /**< lines with fields but no id */
    };

    explicit BrooksideTransition(BrooksideStream text) : stream(std::move(text)) {}

    bool IsOpen() const { return stream.IsOpen(); }

    /** Reads up to the "File" line and derives the phases from it; false when the text ends before. */
    bool FindFileLine();
    int GetNumberOfPhases() const { return static_cast<int>(startColumns.size()); }

    /** Reads on to the next line of a wafer; false at the end. The classic rule counts no lines without an
     * id. */
    bool NextWafer();
    /** The fields of the wafer's line, valid until the next. */
    const BrooksideFields& GetFields() const { return fields; }
    const Skipped& GetSkipped() const { return skipped; }

    /** The fields of a phase, from 1; null when the line has fewer. */
    const std::string_view* GetFrom(int phase) const { return fields.Get(StartColumn(phase)); }
    const std::string_view* GetTo(int phase) const { return fields.Get(StartColumn(phase) + 1); }
    const std::string_view* GetDuration(int phase) const {
        return fields.Get(phase == 1 ? int{FieldDuration} : StartColumn(phase) + 2);
    }

private:
    int StartColumn(int phase) const { return startColumns[static_cast<std::size_t>(phase) - 1]; }
    bool IsWafer();

    BrooksideStream stream;
    std::string line;
    BrooksideFields fields;
    std::vector<int> startColumns;
    Skipped skipped;
};

/** Reads the next line without its double quotes. */
void ReadLineWithoutQuotes(BrooksideStream& stream, std::string& line);
