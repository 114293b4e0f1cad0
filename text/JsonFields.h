#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/JsonRows.h"
#include "frame/CellOutput.h"
#include "text/JsonRowSink.h"
#include "text/LinePiece.h"

/**
 * The fields of lines without quotes as cells of JSON. Numbers whose characters are those that their value
 * would be written with go on as they stand, those side by side together.
 */
class JsonFields {
public:
    /** Both stay the caller's. */
    JsonFields(const LineRules& lineRules, JsonRows& jsonRows);

    /**
     * Adds a line's fields and returns how many they are; 0 where one isn't of its column's type, which needs
     * who votes on types. Its bytes must be UTF-8.
     */
    std::size_t Add(std::string_view line);

    /** Of all lines: times with a zone, and where the first one is. */
    std::uint64_t GetZones() const { return zones; }
    const char* GetFirstZone() const { return firstZone; }

private:
    bool AddValue(std::string_view value, const ColumnType& type, bool isRemark);
    void AddNumber(std::string_view field, const FieldForm& form);
    void EndRun();

    const LineRules& rules;
    JsonRows& rows;
    JsonRowSink sink;
    CellOutput output;
    bool keepsRuns;  // what parts the fields is all that there is between them
    const char* runStart = nullptr;
    const char* runEnd = nullptr;
    std::size_t runFields = 0;
    std::uint64_t zones = 0;
    const char* firstZone = nullptr;
};
