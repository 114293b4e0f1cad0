#include "text/JsonFields.h"

#include <algorithm>

#include "base/ByteMask.h"
#include "base/ByteScan.h"
#include "text/FieldDate.h"
#include "text/RecordScanner.h"
#include "text/TypedField.h"

JsonFields::JsonFields(std::string_view allLines, const LineRules& lineRules, JsonRows& jsonRows,
                       NumberMarks& numberMarks, ZoneCount& zoneCount)
    : lines(allLines),
      rules(lineRules),
      rows(jsonRows),
      marks(numberMarks),
      sink(jsonRows),
      output(sink),
      keepsRuns(!lineRules.dialect.skipsBlank &&
                lineRules.rowTexts.value_or(RowTextForm()).members == nullptr),
      hasMarks(ByteMask::IsFast && keepsRuns &&
               std::all_of(rules.types.begin(), rules.types.end(),
                           [](const ColumnType& type) {
                               return type.kind == ColumnType::Number && type.decimalMark == '.';
                           })),
      zones(zoneCount) {
    if (hasMarks) {
        marks.Look(lines, rules.dialect.delimiter.front());
    }
}

std::size_t JsonFields::AddLine(std::string_view line) {
    record = line.data();
    if (const auto fields = AddNumbers(line)) {
        return *fields;
    }
    return AddFields(line);
}

// A line of as many fields as there are columns, all of them numbers, which go on together but for those that
// have to be looked at. Nothing, with nothing done, of any other line.
std::optional<std::size_t> JsonFields::AddNumbers(std::string_view line) {
    if (!hasMarks || line.empty() || line.front() == '#') {
        return std::nullopt;
    }
    auto from = static_cast<std::size_t>(line.data() - lines.data());
    const std::size_t end = from + line.size();
    const std::size_t width = marks.CountEnds(from, end) + 1;
    if (width != rules.types.size()) {
        return std::nullopt;
    }
    const char delimiter = rules.dialect.delimiter.front();
    for (std::size_t col = 0; col < width;) {
        const std::size_t other = marks.FindOther(from, end + 1);
        const std::size_t start = other > end ? end + 1 : marks.FindStart(from, other);
        if (start > from) {
            const std::size_t count = other > end ? width - col : marks.CountEnds(from, start);
            rows.AddPlainFields(lines.substr(from, start - 1 - from), delimiter, count);
            col += count;
        }
        if (other <= end) {
            const std::size_t behind = marks.FindEnd(other, end);
            if (!AddTyped(lines.substr(start, behind - start), rules.types[col])) {
                return 0;
            }
            ++col;
            from = behind + 1;
        }
    }
    return width;
}

// A field by itself.
bool JsonFields::AddTyped(std::string_view field, const ColumnType& type) {
    FieldForm form;
    const char* const end = field.data() + field.size();
    const auto isEnd = [end](const char* place) { return place == end; };
    if (type.kind != ColumnType::Number ||
        TakePlainNumber(field, rules.textEnd, type, isEnd, form) == nullptr) {
        return AddValue(field, type, false);
    }
    AddNumber(field, form);
    EndRun();
    return true;
}

const ColumnType& JsonFields::TypeOf(std::size_t col) const {
    static constexpr ColumnType Anything;
    return col < rules.types.size() ? rules.types[col] : Anything;
}

bool JsonFields::AddField(std::string_view value, std::size_t col) {
    return AddTyped(value, TypeOf(col));
}

bool JsonFields::AddQuoted(std::string_view between, bool isEscaped, std::size_t col) {
    if (isEscaped) {
        unescaped.clear();
        AppendUnescaped(unescaped, between, rules.dialect);
        between = unescaped;
    }
    if (between.empty()) {
        // Nothing in quotes is the empty text, whatever the column is.
        rows.AddPlainText(between);
        return true;
    }
    return AddValue(between, TypeOf(col), false);
}

void JsonFields::DropRow(std::size_t bytesBefore) {
    runFields = 0;
    rows.DropRow(bytesBefore);
}

std::size_t JsonFields::AddFields(std::string_view line) {
    const char delimiter = rules.dialect.delimiter.front();
    const char* at = line.data();
    const char* const end = at + line.size();
    const bool isRemark = line.starts_with('#');
    for (std::size_t col = 0;; ++col) {
        const ColumnType& type = TypeOf(col);
        FieldForm form;
        const char* behind = type.kind == ColumnType::Number && !isRemark
                                 ? TakePlainNumber(at, end, rules.textEnd, delimiter, type, form)
                                 : nullptr;
        if (behind != nullptr) {
            AddNumber({at, static_cast<std::size_t>(behind - at)}, form);
        } else {
            behind = FindByte(at, end, delimiter);
            EndRun();
            if (!AddValue({at, static_cast<std::size_t>(behind - at)}, type, isRemark)) {
                return 0;
            }
        }
        if (behind == end) {
            EndRun();
            return col + 1;
        }
        at = behind + 1;
        at += rules.dialect.skipsBlank && at != end && *at == ' ' ? 1 : 0;
    }
}

void JsonFields::AddNumber(std::string_view field, const FieldForm& form) {
    if (!form.isCanonical) {
        EndRun();
        rows.AddNumber(form.number);
    } else if (keepsRuns) {
        runStart = runFields == 0 ? field.data() : runStart;
        runEnd = field.data() + field.size();
        ++runFields;
    } else {
        rows.AddPlain(field);
    }
}

void JsonFields::EndRun() {
    if (runFields > 0) {
        rows.AddPlainFields({runStart, static_cast<std::size_t>(runEnd - runStart)},
                            rules.dialect.delimiter.front(), runFields);
        runFields = 0;
    }
}

// A field that is no plain number. False where it contradicts its column's type.
bool JsonFields::AddValue(std::string_view value, const ColumnType& type, bool isRemark) {
    if (value.empty()) {
        rows.AddNull();
        return true;
    }
    if (isRemark || type.kind == ColumnType::Text) {
        rows.AddText(value);
        return true;
    }
    if (AddDate(value, type)) {
        return true;
    }
    const FieldForm form = GetFieldForm(value, rules.dateOrder);
    if ((form.bits & ~type.accepted) != 0) {
        return false;
    }
    if ((form.bits & FieldForm::WithZone) != 0) {
        zones.Add(record);
    }
    PutTypedField(type, form, value, output, 1, 1);
    return true;
}

// A field of a column of dates or times that is written as most are: the characters of the cell are its own,
// but for a blank between date and time.
bool JsonFields::AddDate(std::string_view field, const ColumnType& type) {
    if (type.kind != ColumnType::Date && type.kind != ColumnType::Time && type.kind != ColumnType::DateTime) {
        return false;
    }
    const auto date = ReadPlainDate(field);
    if (!date || type.kind != GetKindOf(date->kind)) {
        return false;
    }
    if (date->isCanonical) {
        rows.AddPlainText(field);
        return true;
    }
    constexpr std::size_t DaySize = 10;
    constexpr std::size_t LongestPlain = 19;
    char parted[LongestPlain];
    const std::size_t size = field.copy(parted, LongestPlain);
    parted[DaySize] = 'T';
    rows.AddPlainText({parted, size});
    return true;
}
