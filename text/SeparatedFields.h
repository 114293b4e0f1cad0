#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/SeparatedText.h"
#include "text/LinePiece.h"
#include "text/ZoneCount.h"

/**
 * The fields of lines and records as rows of separated text: each field's own characters. Where nothing has
 * to be quoted or looked at, a line goes on as a whole.
 */
class SeparatedFields {
public:
    /** All stay the caller's: the lines that will come, their rules, the rows, and the count of zones. */
    SeparatedFields(std::string_view allLines, const LineRules& lineRules, SeparatedText& separatedRows,
                    ZoneCount& zoneCount);

    /** Adds the fields of a line that may be divided at each delimiter; returns how many they are. */
    std::size_t AddLine(std::string_view line);

    /** Of any other record the fields come one by one. */
    void BeginRecord(const char* begin) { record = begin; }
    /** Adds a field that stands in no quotes. */
    bool AddField(std::string_view value, std::size_t col);
    /** Adds what stands between quotes, where `isEscaped` tells that doubled quotes or escapes are in it. */
    bool AddQuoted(std::string_view between, bool isEscaped, std::size_t col);

    void EndRow(std::size_t width) { rows.EndRow(width); }
    void DropRow(std::size_t bytesBefore) { rows.DropRow(bytesBefore); }
    std::size_t GetSize() const { return rows.GetBytes().size(); }

private:
    std::size_t AddFields(std::string_view line);
    void LookForZones(std::string_view line);
    void LookForZone(std::string_view value, std::size_t col);

    const LineRules& rules;
    SeparatedText& rows;
    ZoneCount& zones;
    bool areAsTheyStand = false;  // the lines, but for what parts their fields
    bool keepsQuotes = false;     // what needs quotes in the file needs the same ones
    std::size_t zoneColumns = 0;  // behind so many, no column is of dates and times
    const char* record = nullptr;
    std::string unescaped;
};
