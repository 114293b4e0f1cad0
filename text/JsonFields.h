#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/JsonRows.h"
#include "frame/CellOutput.h"
#include "text/JsonRowSink.h"
#include "text/LinePiece.h"
#include "text/NumberMarks.h"
#include "text/ZoneCount.h"

/**
 * The fields of lines and records as cells of JSON. Numbers whose characters are those that their value would
 * be written with go on as they stand, those side by side together.
 */
class JsonFields {
public:
    /** All stay the caller's: the lines that will come, their rules, the rows, room for what is seen at a
     * look at all lines, and the count of zones. The bytes must be UTF-8. */
    JsonFields(std::string_view allLines, const LineRules& lineRules, JsonRows& jsonRows,
               NumberMarks& numberMarks, ZoneCount& zoneCount);

    /**
     * Adds the fields of a line that may be divided at each delimiter; returns how many they are, 0 where one
     * isn't of its column's type, which needs who votes on types.
     */
    std::size_t AddLine(std::string_view line);

    /** Of any other record the fields come one by one. */
    void BeginRecord(const char* begin) { record = begin; }
    /** Adds a field that stands in no quotes. False where it isn't of its column's type. */
    bool AddField(std::string_view value, std::size_t col);
    /** The same of what stands between quotes, where `isEscaped` tells that doubled quotes or escapes are in
     * it. */
    bool AddQuoted(std::string_view between, bool isEscaped, std::size_t col);

    void EndRow(std::size_t width) { rows.EndRow(width); }
    void DropRow(std::size_t bytesBefore);
    std::size_t GetSize() const { return rows.GetBytes().size(); }

private:
    std::optional<std::size_t> AddNumbers(std::string_view line);
    std::size_t AddFields(std::string_view line);
    const ColumnType& TypeOf(std::size_t col) const;
    bool AddTyped(std::string_view field, const ColumnType& type);
    bool AddDate(std::string_view field, const ColumnType& type);
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
    ZoneCount& zones;
    const char* record = nullptr;
    std::string unescaped;
};
