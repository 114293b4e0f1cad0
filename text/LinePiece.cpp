#include "text/LinePiece.h"

#include <algorithm>
#include <cstring>
#include <functional>

#include "base/Ascii.h"
#include "base/ByteScan.h"
#include "base/Unicode.h"
#include "text/FieldDate.h"
#include "text/JsonFields.h"
#include "text/MarkedNumber.h"
#include "text/RecordScanner.h"
#include "text/SeparatedFields.h"
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

bool BeginsWithBlanksAndQuote(const char* at, const char* end, char quote) {
    if (at == end || *at != ' ') {
        return false;
    }
    const char* const begin = std::find_if_not(at, end, [](char c) { return c == ' '; });
    return begin != end && *begin == quote;
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
        stretch = {};
        stretches.clear();
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
        areAllQuick = std::all_of(rules.types.begin(), rules.types.end(), IsOfPointNumbers);
    }
    PlaceQuickColumns(rules);
}

// Where the numbers of the quick columns go.
void LinePiece::PlaceQuickColumns(const LineRules& rules) {
    quickColumns.resize(columns.size());
    for (std::size_t col = 0; col < columns.size(); ++col) {
        Column& column = columns[col];
        quickColumns[col] = {IsOfPointNumbers(rules.types[col]) ? column.numbers.data() : nullptr,
                             column.hasDecimals ? column.decimals.data() : nullptr, column.writing.data()};
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
    PlaceQuickColumns(rules);
}

// Each record as a row of the text to write. Lines that can't be one, for their bytes, leave all of them to
// who reads cells.
void LinePiece::ReadRowTexts(const LineRules& rules, const RowTextForm& form) {
    const char delimiter = rules.dialect.delimiter.front();
    const ByteFacts facts = ExamineBytes(text);
    isParted = !facts.holdNuls && facts.areUtf8 && !(rules.isOneByte && !IsAscii(text)) &&
               static_cast<unsigned char>(delimiter) < 0x80;
    if (isParted && isJson) {
        JsonFields adder(text, rules, jsonRows, marks, stretch.zones);
        AddRows(rules, form.width, adder);
    } else if (isParted) {
        SeparatedFields adder(text, rules, rowTexts, stretch.zones);
        AddRows(rules, form.width, adder);
    }
}

template <class Adder>
void LinePiece::AddRows(const LineRules& rules, std::size_t width, Adder& adder) {
    hasQuotes = text.find(rules.dialect.quote) != std::string_view::npos;
    hasReturns = text.find('\r') != std::string_view::npos;
    const char* const end = text.data() + text.size();
    for (record = text.data(); record != end; ++rows) {
        const std::size_t before = adder.GetSize();
        const ZoneCount zonesBefore = stretch.zones;
        std::size_t fields = 0;
        const char* behind = AddRow(end, rules, adder, fields);
        if (!isParted) {
            return;
        }
        if (behind != nullptr && fields > 0 && fields <= width) {
            adder.EndRow(width);
            ++stretch.rows;
            stretch.widest = std::max(stretch.widest, fields);
            record = behind;
            continue;
        }
        adder.DropRow(before);
        stretch.zones = zonesBefore;
        if (isOpen) {
            break;
        }
        EndStretch();
        oddLines.push_back({rows, FindOddLine(end)});
        record = oddLines.back().line.data() + oddLines.back().line.size();
    }
    taken = static_cast<std::size_t>(record - text.data());
    EndStretch();
}

void LinePiece::EndStretch() {
    stretch.end = GetRowTexts().size();
    stretches.push_back(stretch);
    stretch.rows = 0;
    stretch.widest = 0;
    stretch.zones = {};
}

// What is behind the record at hand, with how many fields it has; null where it isn't taken.
template <class Adder>
const char* LinePiece::AddRow(const char* end, const LineRules& rules, Adder& adder, std::size_t& fields) {
    fieldBegin = record;
    const auto* const feed =
        static_cast<const char*>(std::memchr(record, '\n', static_cast<std::size_t>(end - record)));
    const char* lineEnd = feed == nullptr ? end : feed;
    if (hasQuotes &&
        std::memchr(record, rules.dialect.quote, static_cast<std::size_t>(lineEnd - record)) != nullptr) {
        return AddRecord(end, rules, adder, fields);
    }
    if (hasReturns) {
        lineEnd -= lineEnd != record && lineEnd[-1] == '\r' ? 1 : 0;
        isParted = std::memchr(record, '\r', static_cast<std::size_t>(lineEnd - record)) == nullptr;
    }
    fields = isParted ? adder.AddLine({record, static_cast<std::size_t>(lineEnd - record)}) : 0;
    return feed == nullptr ? end : feed + 1;
}

// The same of one with quotes in it, which is taken where each field is plain or wholly in quotes.
template <class Adder>
const char* LinePiece::AddRecord(const char* end, const LineRules& rules, Adder& adder, std::size_t& fields) {
    if (*record == '#') {
        return nullptr;
    }
    adder.BeginRecord(record);
    for (const char* at = record;; ++at) {
        at += at != record && rules.dialect.skipsBlank && at != end && *at == ' ' ? 1 : 0;
        fieldBegin = at;
        at = AddField(end, rules, adder, fields);
        if (at == nullptr) {
            return nullptr;
        }
        ++fields;
        if (at == end || *at != rules.dialect.delimiter.front()) {
            return TakeLineEnd(at, end);
        }
    }
}

template <class Adder>
const char* LinePiece::AddField(const char* end, const LineRules& rules, Adder& adder, std::size_t col) {
    const char delimiter = rules.dialect.delimiter.front();
    const char* const at = fieldBegin;
    if (at != end && *at == rules.dialect.quote) {
        bool isEscaped = false;
        const char* const close = FindEndOfQuoted(at, end, rules, isEscaped);
        const bool isAdded =
            close != nullptr &&
            adder.AddQuoted({at + 1, static_cast<std::size_t>(close - at - 1)}, isEscaped, col);
        return isAdded ? close + 1 : nullptr;
    }
    if (BeginsWithBlanksAndQuote(at, end, rules.dialect.quote)) {
        return nullptr;
    }
    const char* const behind = FindByte(at, end, delimiter, '\n', '\r');
    return adder.AddField({at, static_cast<std::size_t>(behind - at)}, col) ? behind : nullptr;
}

// The quote that closes a field which is nothing but what stands between its quotes; null for another one.
const char* LinePiece::FindEndOfQuoted(const char* open, const char* end, const LineRules& rules,
                                       bool& isEscaped) {
    const char* const close = FindClosingQuote(open + 1, end, end, rules.dialect, isEscaped);
    isOpen = close == nullptr;
    const bool isAtEnd =
        !isOpen && (close + 1 == end || close[1] == rules.dialect.delimiter.front() || IsLineEnd(close[1]));
    return isAtEnd ? close : nullptr;
}

// The line on which the record at hand went another way.
std::string_view LinePiece::FindOddLine(const char* end) const {
    const auto* const feed =
        static_cast<const char*>(std::memchr(fieldBegin, '\n', static_cast<std::size_t>(end - fieldBegin)));
    return {record, static_cast<std::size_t>((feed == nullptr ? end : feed + 1) - record)};
}

void LinePiece::Read(std::string_view lines, const LineRules& rules) {
    Clear(lines, rules);
    isPlain = !rules.mustBePlain || ::IsPlain(lines);
    if (!isPlain) {
        return;
    }
    if (rules.rowTexts) {
        ReadRowTexts(rules, *rules.rowTexts);
        return;
    }
    const char* const end = lines.data() + lines.size();
    fieldMarks.Begin(lines, rules.dialect.delimiter.front());
    reading = {};
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
            oddLines.push_back({rows, FindOddLine(end)});
            behind = record + oddLines.back().line.size();
        }
        record = behind;
    }
}

// What is behind a record that goes into the columns, and perhaps some more of them; null for any other.
template <bool KeepsWriting>
const char* LinePiece::ReadRecord(const char* at, const char* end, const LineRules& rules) {
    const std::size_t width = columns.size();
    fieldBegin = at;
    if (*at == '#' || IsLineEnd(*at)) {
        isParted = *at == '#' || TakeLineEnd(at, end) != nullptr;
        return nullptr;
    }
    for (std::size_t col = 0; col < width; ++col) {
        if (quickColumns[col].numbers != nullptr) {
            at = ReadQuickNumbers<KeepsWriting>(at, end, rules, col);
            if (col == width) {
                return at;
            }
        }
        fieldBegin = at;
        const char* const behind = ReadField(at, end, rules, col);
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
        PutDecimals(col, rows, form.decimals);
    } else if (!form.isCanonical) {
        AddOther(col, Other::Source, number);
    }
    return behind;
}

// Fields of columns of numbers with points, from this column on, as far as they are quickly read and followed
// by the next one's; where all columns are of that kind, those of further records too. Returns what is behind
// them. That is a record's beginning where `col` is behind all columns then, else the next column's field.
template <bool KeepsWriting>
const char* LinePiece::ReadQuickNumbers(const char* at, const char* end, const LineRules& rules,
                                        std::size_t& col) {
    if (at - text.data() < MarkedNumber::BytesBefore) {
        return at;
    }
    const char delimiter = rules.dialect.delimiter.front();
    const bool skipsBlank = rules.dialect.skipsBlank;
    const bool makesRuns = rules.makesRuns;
    const std::size_t width = columns.size();
    const std::uint32_t firstRow = rows;
    std::uint32_t row = rows;
    std::size_t place = col;
    FieldMarks::Reading marks = reading;
    marks.Seek(at);
    // What is behind the field that ends at the mark; null where another one than its column's begins there.
    const auto findEnd = [&](const char* mark) -> const char* {
        if (place + 1 < width) {
            return *mark == delimiter ? mark : nullptr;
        }
        return *mark != '\n' ? nullptr : mark - (mark[-1] == '\r' ? 1 : 0);
    };
    while (place < width && quickColumns[place].numbers != nullptr) {
        if (!marks.HasTwo()) {
            marks = fieldMarks.Look(at);
            if (!marks.HasTwo()) {
                break;
            }
        }
        // Two roads, so that where the next field is doesn't wait for what this one has: nearly all of a
        // column have a point, or none, and the processor foresees which.
        MarkedNumber number;
        const char* const begin = at;
        const char* const first = marks.GetFirst();
        const char* behind = nullptr;
        if (*first == '.') {
            const char* const mark = marks.GetSecond();
            behind = findEnd(mark);
            if (behind == nullptr || !number.ReadDecimal(at, first, behind) ||
                (!makesRuns && number.GetDecimals() > 0)) {
                break;
            }
            marks.Skip(2);
            at = mark + 1;
        } else {
            behind = findEnd(first);
            if (behind == nullptr || !number.ReadWhole(at, behind)) {
                break;
            }
            marks.Skip(1);
            at = first + 1;
        }
        const QuickColumn& column = quickColumns[place];
        column.numbers[row] = number.GetValue();
        if constexpr (KeepsWriting) {
            column.writing[row] = {static_cast<std::uint32_t>(begin - text.data()),
                                   static_cast<std::uint32_t>(behind - begin)};
        }
        // Which of a column's numbers end in zeros nobody foresees.
        if (column.decimals != nullptr) {
            column.decimals[row] = number.GetDecimals();
        } else if (number.GetDecimals() > 0) {
            PutDecimals(place, row, number.GetDecimals());
        }
        if (++place < width) {
            at += skipsBlank && at != end && *at == ' ' ? 1 : 0;
            continue;
        }
        if (!areAllQuick || at == end || row + 1 == room) {
            break;
        }
        ++row;
        record = at;
        place = 0;
    }
    // A record of which nothing is read is left to who looks what it is.
    const bool isAtNext = place == 0 && row != firstRow;
    rows = isAtNext ? row - 1 : row;
    col = isAtNext ? width : place;
    reading = marks;
    return at;
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
    if (BeginsWithBlanksAndQuote(at, end, dialect.quote)) {
        return nullptr;
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
    const char* const close = FindEndOfQuoted(open, end, rules, isEscaped);
    if (close == nullptr) {
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
    return close + 1;
}

void LinePiece::PutDecimals(std::size_t col, std::uint32_t row, std::uint8_t decimals) {
    Column& column = columns[col];
    if (!column.hasDecimals) {
        column.hasDecimals = true;
        column.decimals.assign(column.numbers.size(), 0);
        quickColumns[col].decimals = column.decimals.data();
    }
    column.decimals[row] = decimals;
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
    if (!date || kind != GetKindOf(date->kind)) {
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
