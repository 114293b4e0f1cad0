#include "text/SeparatedFields.h"

#include "base/ByteScan.h"
#include "text/RecordScanner.h"

SeparatedFields::SeparatedFields(std::string_view allLines, const LineRules& lineRules,
                                 SeparatedText& separatedRows, ZoneCount& zoneCount)
    : rules(lineRules), rows(separatedRows), zones(zoneCount) {
    const TextDialect& dialect = rules.dialect;
    const char separator = rules.rowTexts.value_or(RowTextForm()).separator;
    areAsTheyStand =
        !dialect.skipsBlank && (dialect.quote == '"' || allLines.find('"') == std::string_view::npos) &&
        (dialect.delimiter.front() == separator || allLines.find(separator) == std::string_view::npos);
    keepsQuotes = dialect.quote == '"' && dialect.escape == '\0';
    for (std::size_t col = 0; col < rules.types.size(); ++col) {
        zoneColumns = rules.types[col].kind == ColumnType::DateTime ? col + 1 : zoneColumns;
    }
}

std::size_t SeparatedFields::AddLine(std::string_view line) {
    record = line.data();
    if (!areAsTheyStand) {
        return AddFields(line);
    }
    const char delimiter = rules.dialect.delimiter.front();
    if (zoneColumns > 0 && !line.starts_with('#')) {
        LookForZones(line);
    }
    const std::size_t fields = 1 + CountByte(line.data(), line.data() + line.size(), delimiter);
    rows.AddPlainFields(line, delimiter, fields);
    return fields;
}

// Of the columns of dates and times.
void SeparatedFields::LookForZones(std::string_view line) {
    const char* at = line.data();
    const char* const end = at + line.size();
    for (std::size_t col = 0; col < zoneColumns; ++col) {
        const char* const behind = FindByte(at, end, rules.dialect.delimiter.front());
        LookForZone({at, static_cast<std::size_t>(behind - at)}, col);
        if (behind == end) {
            break;
        }
        at = behind + 1;
    }
}

std::size_t SeparatedFields::AddFields(std::string_view line) {
    const char* at = line.data();
    const char* const end = at + line.size();
    const bool isRemark = line.starts_with('#');
    for (std::size_t col = 0;; ++col) {
        const char* const behind = FindByte(at, end, rules.dialect.delimiter.front());
        const std::string_view value(at, static_cast<std::size_t>(behind - at));
        if (isRemark) {
            rows.Add(value);
        } else {
            AddField(value, col);
        }
        if (behind == end) {
            return col + 1;
        }
        at = behind + 1;
        at += rules.dialect.skipsBlank && at != end && *at == ' ' ? 1 : 0;
    }
}

bool SeparatedFields::AddField(std::string_view value, std::size_t col) {
    LookForZone(value, col);
    rows.Add(value);
    return true;
}

bool SeparatedFields::AddQuoted(std::string_view between, bool isEscaped, std::size_t col) {
    if (keepsQuotes && col >= zoneColumns) {
        // What quotes there are in it are doubled already.
        if (isEscaped || rows.MustBeQuoted(between)) {
            rows.AddQuoted(between);
        } else {
            rows.AddPlain(between);
        }
        return true;
    }
    if (!isEscaped) {
        return AddField(between, col);
    }
    unescaped.clear();
    AppendUnescaped(unescaped, between, rules.dialect);
    return AddField(unescaped, col);
}

void SeparatedFields::LookForZone(std::string_view value, std::size_t col) {
    if (col < zoneColumns && rules.types[col].kind == ColumnType::DateTime &&
        HasZone(value, rules.dateOrder)) {
        zones.Add(record);
    }
}
