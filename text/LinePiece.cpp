#include "text/LinePiece.h"

#include <algorithm>
#include <cstring>
#include <functional>

#include "base/Ascii.h"
#include "base/ByteScan.h"
#include "base/Unicode.h"
#include "text/FieldDate.h"
#include "text/JsonFields.h"
#include "text/QuickNumber.h"
#include "text/RecordScanner.h"
#include "text/TextEncoding.h"
#include "text/TypedField.h"

namespace {

// Whether a column's values lie side by side as 64-bit numbers.
bool IsOfValues(const ColumnType& type, const LineRules& rules) {
    return rules.makesRuns && (type.kind == ColumnType::Bool || type.kind == ColumnType::Date ||
                               type.kind == ColumnType::Time || type.kind == ColumnType::DateTime);
}

constexpr std::size_t FewestRows = 64;

// Whether all numbers that are quickly read are the column's.
bool IsOfPointNumbers(const ColumnType& type) {
    constexpr std::uint32_t Quick = FieldForm::Integer | FieldForm::Point | FieldForm::PointOrGroup;
    return type.kind == ColumnType::Number && type.decimalMark == '.' && (Quick & ~type.accepted) == 0;
}

bool IsOfTexts(const ColumnType& type, const LineRules& rules) {
    return rules.makesTexts && type.kind == ColumnType::Text;
}

}  // namespace

void LinePiece::Clear(std::string_view lines, const LineRules& rules) {
    text = lines;
    taken = lines.size();
    rows = 0;
    isParted = true;
    isOpen = false;
    forms.clear();
    oddLines.clear();
    unescapedTexts.Clear();
    hasRowTexts = rules.rowTexts.has_value();
    if (hasRowTexts) {
        isJson = rules.rowTexts->kind == RowTextForm::JsonLines;
        rowTexts.Begin(rules.rowTexts->separator);
        jsonRows.Begin(rules.rowTexts->members);
        widest = 0;
        zones = 0;
        return;
    }
    columns.resize(rules.types.size());
    for (Column& column : columns) {
        column.others.clear();
        column.texts.Clear();
        column.hasDecimals = false;
        column.hasWriting = false;
        column.areBlanked = false;
    }
    if (&rules != madeFor) {
        madeFor = &rules;
        room = 0;
        areQuick.clear();
        for (const ColumnType& type : rules.types) {
            areQuick.push_back(IsOfPointNumbers(type) ? 1 : 0);
        }
    }
}

// Room for so many rows in each column, by what it is.
void LinePiece::MakeRoom(std::size_t wanted, const LineRules& rules) {
    for (std::size_t col = 0; col < columns.size(); ++col) {
        Column& column = columns[col];
        if (rules.types[col].kind == ColumnType::Number) {
            column.numbers.resize(wanted);
            column.writing.resize(rules.keepsWriting ? wanted : 0);
        } else if (IsOfValues(rules.types[col], rules)) {
            column.values.resize(wanted);
        } else if (IsOfTexts(rules.types[col], rules)) {
            column.texts.MakeRoom(wanted);
        }
        if (column.hasDecimals) {
            column.decimals.resize(wanted);
        }
    }
    room = wanted;
}

// Each line as a row of the text to write. A line that can't be one, for its bytes or its width, leaves all
// of them to who reads cells.
void LinePiece::ReadRowTexts(const LineRules& rules, const RowTextForm& form) {
    const char delimiter = rules.dialect.delimiter.front();
    const ByteFacts facts = ExamineBytes(text);
    isParted = !facts.holdNuls && facts.areUtf8 && !(rules.isOneByte && !IsAscii(text)) &&
               static_cast<unsigned char>(delimiter) < 0x80;
    if (isParted && isJson) {
        ReadJsonRows(rules, form);
    } else if (isParted) {
        ReadSeparatedRows(rules, form);
    }
}

// `addFields` adds a line's fields and says how many they are, 0 where the line isn't one to be added.
template <class Adder>
void LinePiece::AddRows(const RowTextForm& form, const Adder& addFields) {
    const bool hasReturns = text.find('\r') != std::string_view::npos;
    const char* const end = text.data() + text.size();
    for (const char* at = text.data(); isParted && at != end; ++rows) {
        const auto* const feed =
            static_cast<const char*>(std::memchr(at, '\n', static_cast<std::size_t>(end - at)));
        const char* lineEnd = feed == nullptr ? end : feed;
        if (hasReturns) {
            lineEnd -= lineEnd != at && lineEnd[-1] == '\r' ? 1 : 0;
            isParted = std::memchr(at, '\r', static_cast<std::size_t>(lineEnd - at)) == nullptr;
        }
        const std::size_t fields = addFields(std::string_view(at, static_cast<std::size_t>(lineEnd - at)));
        widest = std::max(widest, fields);
        isParted = isParted && fields > 0 && fields <= form.width;
        at = feed == nullptr ? end : feed + 1;
    }
}

void LinePiece::ReadJsonRows(const LineRules& rules, const RowTextForm& form) {
    JsonFields adder(text, rules, jsonRows, marks);
    AddRows(form, [&](std::string_view line) {
        const std::size_t fields = adder.Add(line);
        jsonRows.EndRow(form.width);
        return fields;
    });
    zones = adder.GetZones();
    firstZone = adder.GetFirstZone();
}

void LinePiece::ReadSeparatedRows(const LineRules& rules, const RowTextForm& form) {
    const char delimiter = rules.dialect.delimiter.front();
    // Where nothing has to be quoted or looked at, a line differs from its row in what parts the fields only.
    const bool isPlain =
        !rules.dialect.skipsBlank && text.find('"') == std::string_view::npos &&
        (delimiter == form.separator || text.find(form.separator) == std::string_view::npos) &&
        std::none_of(rules.types.begin(), rules.types.end(),
                     [](const ColumnType& type) { return type.kind == ColumnType::DateTime; });
    AddRows(form, [&](std::string_view line) {
        std::size_t fields = 0;
        if (isPlain) {
            fields = 1 + CountByte(line.data(), line.data() + line.size(), delimiter);
            rowTexts.AddPlainFields(line, delimiter, fields);
        } else {
            fields = AddFields(line, rules);
        }
        rowTexts.EndRow(form.width);
        return fields;
    });
}

// Of one line; returns how many they are.
std::size_t LinePiece::AddFields(std::string_view line, const LineRules& rules) {
    const char* at = line.data();
    const char* const end = at + line.size();
    const bool isRemark = line.starts_with('#');
    for (std::size_t col = 0;; ++col) {
        const char* const behind = FindByte(at, end, rules.dialect.delimiter.front());
        const std::string_view value(at, static_cast<std::size_t>(behind - at));
        if (!isRemark && col < rules.types.size() && rules.types[col].kind == ColumnType::DateTime) {
            LookForZone(value, rules);
        }
        rowTexts.Add(value);
        if (behind == end) {
            return col + 1;
        }
        at = behind + 1;
        at += rules.dialect.skipsBlank && at != end && *at == ' ' ? 1 : 0;
    }
}

void LinePiece::LookForZone(std::string_view value, const LineRules& rules) {
    if (HasZone(value, rules.dateOrder)) {
        firstZone = zones++ == 0 ? value.data() : firstZone;
    }
}

void LinePiece::Read(std::string_view lines, const LineRules& rules) {
    Clear(lines, rules);
    if (rules.rowTexts) {
        ReadRowTexts(rules, *rules.rowTexts);
        return;
    }
    const char* const end = lines.data() + lines.size();
    for (record = lines.data(); record != end; ++rows) {
        if (rows == room) {
            MakeRoom(std::max(FewestRows, room + room / 4), rules);
        }
        const char* behind =
            rules.keepsWriting ? ReadRecord<true>(record, end, rules) : ReadRecord<false>(record, end, rules);
        if (!isParted) {
            return;
        }
        if (behind == nullptr) {
            DropRow(rules);
            if (isOpen) {
                taken = static_cast<std::size_t>(record - lines.data());
                return;
            }
            const auto* const feed = static_cast<const char*>(
                std::memchr(fieldBegin, '\n', static_cast<std::size_t>(end - fieldBegin)));
            behind = feed == nullptr ? end : feed + 1;
            oddLines.push_back({rows, {record, static_cast<std::size_t>(behind - record)}});
        }
        record = behind;
    }
}

// What is behind a record that goes into the columns; null for any other.
template <bool KeepsWriting>
const char* LinePiece::ReadRecord(const char* at, const char* end, const LineRules& rules) {
    const std::size_t width = columns.size();
    fieldBegin = at;
    if (*at == '#' || IsLineEnd(*at)) {
        isParted = *at == '#' || TakeLineEnd(at, end) != nullptr;
        return nullptr;
    }
    for (std::size_t col = 0; col < width; ++col) {
        fieldBegin = at;
        const char* behind = areQuick[col] != 0 ? ReadQuickNumber(at, end, rules, col) : nullptr;
        if (behind == nullptr) {
            behind = ReadField(at, end, rules, col);
        } else if constexpr (KeepsWriting) {
            KeepWriting(columns[col], {at, static_cast<std::size_t>(behind - at)});
        }
        if (behind == nullptr) {
            return nullptr;
        }
        if (behind == end || *behind != rules.dialect.delimiter.front()) {
            return col + 1 == width ? TakeLineEnd(behind, end) : nullptr;
        }
        at = behind + 1;
        at += rules.dialect.skipsBlank && at != end && *at == ' ' ? 1 : 0;
    }
    return nullptr;
}

// What is behind the line end, or the text's, at `at`; null for a carriage return by itself.
const char* LinePiece::TakeLineEnd(const char* at, const char* end) {
    if (at == end || at + 1 == end || *at == '\n') {
        return at == end ? end : at + 1;
    }
    isParted = at[1] == '\n';
    return isParted ? at + 2 : nullptr;
}

// A field of a column of numbers that is one, as most are: what is behind it, else null. `isEnd` tells
// whether a place behind a number is where its field ends.
template <class IsEnd>
const char* LinePiece::ReadNumber(std::string_view from, const char* readable, const LineRules& rules,
                                  std::size_t col, IsEnd isEnd) {
    FieldForm form;
    const char* const behind = TakePlainNumber(from, readable, rules.types[col], isEnd, form);
    if (behind == nullptr) {
        return nullptr;
    }
    const std::string_view number = from.substr(0, static_cast<std::size_t>(behind - from.data()));
    columns[col].numbers[rows] = form.number;
    if (rules.keepsWriting) {
        KeepWriting(columns[col], number);
    }
    if (form.decimals > 0 && rules.makesRuns) {
        PutDecimals(columns[col], form.decimals);
    } else if (!form.isCanonical) {
        AddOther(col, Other::Source, number);
    }
    return behind;
}

// The same of a column of numbers with points, as far as it is quickly done.
inline const char* LinePiece::ReadQuickNumber(const char* at, const char* end, const LineRules& rules,
                                              std::size_t col) {
    QuickNumber number;
    if (rules.textEnd - at < QuickNumber::BytesLookedAt || !number.Find(at)) {
        return nullptr;
    }
    const char* const behind = number.GetEnd();
    double value = 0;
    std::uint8_t decimals = 0;
    if (behind >= end || (*behind != rules.dialect.delimiter.front() && !IsLineEnd(*behind)) ||
        !number.HasForm() || !number.GetValue(value, decimals) || (decimals > 0 && !rules.makesRuns)) {
        return nullptr;
    }
    columns[col].numbers[rows] = value;
    if (decimals > 0) {
        PutDecimals(columns[col], decimals);
    }
    return behind;
}

// What is behind a field; null where it takes more than one look to see what it is.
const char* LinePiece::ReadField(const char* at, const char* end, const LineRules& rules, std::size_t col) {
    const TextDialect& dialect = rules.dialect;
    if (at != end && *at == dialect.quote) {
        return ReadQuoted(at, end, rules, col);
    }
    if (rules.types[col].kind == ColumnType::Number) {
        const char delimiter = dialect.delimiter.front();
        const auto isEnd = [end, delimiter](const char* place) {
            return place == end || *place == delimiter || IsLineEnd(*place);
        };
        const std::string_view from(at, static_cast<std::size_t>(end - at));
        if (const char* const behind = ReadNumber(from, rules.textEnd, rules, col, isEnd)) {
            return behind;
        }
    }
    if (at != end && *at == ' ') {
        const char* const begin = std::find_if_not(at, end, [](char c) { return c == ' '; });
        if (begin != end && *begin == dialect.quote) {
            return nullptr;
        }
    }
    const char* const behind = FindByte(at, end, dialect.delimiter.front(), '\n', '\r');
    if (behind == at) {
        AddOther(col, Other::Missing, {});
        if (IsOfTexts(rules.types[col], rules)) {
            columns[col].texts.PutNothing(rows);
        }
    } else {
        PutField({at, static_cast<std::size_t>(behind - at)}, rules.textEnd, rules, col);
    }
    return behind;
}

// A field that is nothing but what stands between its quotes.
const char* LinePiece::ReadQuoted(const char* open, const char* end, const LineRules& rules,
                                  std::size_t col) {
    bool isEscaped = false;
    const char* const close = FindClosingQuote(open + 1, end, end, rules.dialect, isEscaped);
    if (close == nullptr) {
        isOpen = true;
        return nullptr;
    }
    const char* const behind = close + 1;
    if (behind != end && *behind != rules.dialect.delimiter.front() && !IsLineEnd(*behind)) {
        return nullptr;
    }
    std::string_view value(open + 1, static_cast<std::size_t>(close - open - 1));
    const char* readable = rules.textEnd;
    const bool isText = IsOfTexts(rules.types[col], rules);
    if (isEscaped) {
        unescaped.clear();
        AppendUnescaped(unescaped, value, rules.dialect);
        value = isText ? unescaped : std::string_view(unescapedTexts.Add(unescaped), unescaped.size());
        readable = value.data() + value.size();
    }
    // Nothing in quotes is the empty text, whatever the column is.
    if (value.empty() && !isText) {
        AddOther(col, Other::Text, value);
    } else {
        PutField(value, readable, rules, col);
    }
    return behind;
}

void LinePiece::PutDecimals(Column& column, std::uint8_t decimals) const {
    if (!column.hasDecimals) {
        column.hasDecimals = true;
        column.decimals.assign(column.numbers.size(), 0);
    }
    column.decimals[rows] = decimals;
}

// A number in quotes whose escapes were taken out isn't written in the piece.
void LinePiece::KeepWriting(Column& column, std::string_view number) const {
    const std::less<> isBefore;
    const bool isInPiece = !isBefore(number.data(), text.data()) &&
                           !isBefore(text.data() + text.size(), number.data() + number.size());
    column.writing[rows] = {isInPiece ? static_cast<std::uint32_t>(number.data() - text.data()) : 0,
                            isInPiece ? static_cast<std::uint32_t>(number.size()) : 0};
}

// A field that has characters, or is a text.
void LinePiece::PutField(std::string_view value, const char* readable, const LineRules& rules,
                         std::size_t col) {
    switch (rules.types[col].kind) {
        case ColumnType::Text:
            PutText(value, readable, rules, col);
            return;
        case ColumnType::Number:
            if (const char* const end = value.data() + value.size();
                ReadNumber(value, readable, rules, col, [end](const char* at) { return at == end; }) !=
                nullptr) {
                return;
            }
            break;
        case ColumnType::Bool:
        case ColumnType::Date:
        case ColumnType::Time:
        case ColumnType::DateTime:
            if (rules.makesRuns && PutValue(value, rules, col)) {
                return;
            }
            break;
        case ColumnType::Empty:
            break;
    }
    AddValue(col, value, rules);
}

void LinePiece::PutText(std::string_view value, const char* readable, const LineRules& rules,
                        std::size_t col) {
    if (!rules.makesTexts) {
        AddOther(col, Other::Text, value);
    } else if (rules.isUtf8 || IsAscii(value)) {
        columns[col].texts.Put(rows, value, readable);
    } else {
        utf8.clear();
        AppendWindows1252(utf8, value);
        columns[col].texts.Put(rows, utf8, utf8.data() + utf8.size());
    }
}

// A truth value, date or time written as most are. False, with nothing done, for any other.
bool LinePiece::PutValue(std::string_view value, const LineRules& rules, std::size_t col) {
    const ColumnType::Kind kind = rules.types[col].kind;
    Column& column = columns[col];
    if (kind == ColumnType::Bool) {
        column.values[rows] = value == "TRUE" ? 1 : 0;
        return value == "TRUE" || value == "FALSE";
    }
    const auto date = ReadPlainDate(value);
    if (!date || kind != (date->kind == FieldDate::Date   ? ColumnType::Date
                          : date->kind == FieldDate::Time ? ColumnType::Time
                                                          : ColumnType::DateTime)) {
        return false;
    }
    column.values[rows] = date->value;
    if (!column.hasWriting) {
        column.hasWriting = true;
        column.areBlanked = !date->isCanonical;
    } else if (column.areBlanked == date->isCanonical) {
        AddOther(col, Other::Source, value);
    }
    return true;
}

void LinePiece::AddOther(std::size_t col, Other::Kind kind, std::string_view value, std::uint32_t form) {
    columns[col].others.push_back(
        {rows, form, static_cast<std::uint32_t>(record - text.data()), kind, value});
}

void LinePiece::AddValue(std::size_t col, std::string_view value, const LineRules& rules) {
    if (!rules.isUtf8 && (!IsAscii(value) || value.find('\0') != std::string_view::npos)) {
        AddOther(col, Other::Unlooked, value);
        return;
    }
    AddOther(col, Other::Value, value, static_cast<std::uint32_t>(forms.size()));
    forms.push_back(GetFieldForm(value, rules.dateOrder));
}

// Takes back what of a record is there.
void LinePiece::DropRow(const LineRules& rules) {
    for (std::size_t col = 0; col < columns.size(); ++col) {
        Column& column = columns[col];
        if (!column.others.empty() && column.others.back().row == rows) {
            column.others.pop_back();
        }
        if (IsOfTexts(rules.types[col], rules)) {
            column.texts.PutNothing(rows);
        }
        if (column.hasDecimals) {
            column.decimals[rows] = 0;
        }
    }
}
