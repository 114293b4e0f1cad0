#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "base/JsonRows.h"
#include "frame/CellOutput.h"
#include "text/JsonRowSink.h"
#include "text/LinePiece.h"
#include "text/NumberMarks.h"

/**
 * The fields of lines without quotes as cells of JSON. Numbers whose characters are those that their value
 * would be written with go on as they stand, those side by side together.
 */
class JsonFields {
public:
    /** All stay the caller's: the lines that will come, their rules, the rows, and room for what is seen at a
     * look at all lines. */
    JsonFields(std::string_view allLines, const LineRules& lineRules, JsonRows& jsonRows,
               NumberMarks& numberMarks);

    /**
     * Adds a line's fields and returns how many they are; 0 where one isn't of its column's type, which needs
     * who votes on types. Its bytes must be UTF-8.
     */
    std::size_t Add(std::string_view line);

    /** Of all lines: times with a zone, and where the first one is. */
    std::uint64_t GetZones() const { return zones; }
    const char* GetFirstZone() const { return firstZone; }

private:
    std::optional<std::size_t> AddNumbers(std::string_view line);
    std::size_t AddFields(std::string_view line);
    bool AddField(std::string_view field, const ColumnType& type);
    bool AddValue(std::string_view value, const ColumnType& type, bool isRemark);
    void AddNumber(std::string_view field, const FieldForm& form);
    void EndRun();

    std::string_view lines;
    const LineRules& rules;
    JsonRows& rows;
    NumberMarks& marks;
    JsonRowSink sink;
    CellOutput output;
    bool keepsRuns;  // what parts the fields is all that there is between them
    bool hasMarks;   // the columns are numbers
    const char* runStart = nullptr;
    const char* runEnd = nullptr;
    std::size_t runFields = 0;
    std::uint64_t zones = 0;
    const char* firstZone = nullptr;
};
