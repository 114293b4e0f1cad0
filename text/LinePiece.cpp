#include "text/LinePiece.h"

#include <algorithm>
#include <cstring>

#include "base/ByteScan.h"
#include "text/JsonFields.h"
#include "text/TextEncoding.h"
#include "text/TypedField.h"

void LinePiece::Clear(std::string_view lines, const LineRules& rules) {
    text = lines;
    rows = 0;
    isParted = true;
    forms.clear();
    oddLines.clear();
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
    const std::size_t count = CountByte(lines.data(), lines.data() + lines.size(), '\n') + 1;
    for (std::size_t col = 0; col < columns.size(); ++col) {
        columns[col].others.clear();
        if (rules.types[col].kind == ColumnType::Number && columns[col].numbers.size() < count) {
            columns[col].numbers.resize(count);
        }
    }
}

// Each line as a row of the text to write. A line that can't be one, for its bytes or its width, leaves all
// of them to who reads cells.
void LinePiece::ReadRowTexts(const LineRules& rules, const RowTextForm& form) {
    const char delimiter = rules.dialect.delimiter.front();
    const ByteFacts facts = ExamineBytes(text);
    isParted = !facts.holdNuls && facts.areUtf8 && !(rules.isOneByte && HasHighBytes(text)) &&
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
    JsonFields adder(rules, jsonRows);
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
    const char* at = lines.data();
    const char* const end = at + lines.size();
    while (at != end) {
        const auto* const feed =
            static_cast<const char*>(std::memchr(at, '\n', static_cast<std::size_t>(end - at)));
        const char* const behind = feed == nullptr ? end : feed + 1;
        const char* lineEnd = feed == nullptr ? end : feed;
        if (lineEnd != at && lineEnd[-1] == '\r') {
            --lineEnd;
        }
        if (std::memchr(at, '\r', static_cast<std::size_t>(lineEnd - at)) != nullptr) {
            isParted = false;
            return;
        }
        if (at == lineEnd || *at == '#' || !ReadLine(at, lineEnd, rules)) {
            oddLines.push_back({rows, {at, static_cast<std::size_t>(lineEnd - at)}});
        }
        ++rows;
        at = behind;
    }
}

// False, with nothing of it kept, for a line that has another number of fields.
bool LinePiece::ReadLine(const char* at, const char* end, const LineRules& rules) {
    const char delimiter = rules.dialect.delimiter.front();
    const std::size_t width = columns.size();
    for (std::size_t col = 0;; ++col) {
        if (col == width) {
            DropRow();
            return false;
        }
        const ColumnType::Kind kind = rules.types[col].kind;
        const char* behind = kind == ColumnType::Number ? ReadNumber(at, end, rules, col) : nullptr;
        if (behind == nullptr) {
            behind = FindByte(at, end, delimiter);
            const std::string_view value(at, static_cast<std::size_t>(behind - at));
            if (value.empty()) {
                AddOther(col, Other::Missing, value);
            } else if (kind == ColumnType::Text) {
                AddOther(col, Other::Text, value);
            } else {
                AddValue(col, value, rules);
            }
        }
        if (behind == end) {
            if (col + 1 != width) {
                DropRow();
            }
            return col + 1 == width;
        }
        at = behind + 1;
        at += rules.dialect.skipsBlank && at != end && *at == ' ' ? 1 : 0;
    }
}

// A field of a column of numbers that is one, as most are: what is behind it, else null.
const char* LinePiece::ReadNumber(const char* at, const char* end, const LineRules& rules, std::size_t col) {
    FieldForm form;
    const char* const behind =
        TakePlainNumber(at, end, rules.textEnd, rules.dialect.delimiter.front(), rules.types[col], form);
    if (behind == nullptr) {
        return nullptr;
    }
    columns[col].numbers[rows] = form.number;
    if (!form.isCanonical) {
        AddOther(col, Other::Source, {at, static_cast<std::size_t>(behind - at)});
    }
    return behind;
}

void LinePiece::AddOther(std::size_t col, Other::Kind kind, std::string_view value, std::uint32_t form) {
    columns[col].others.push_back({rows, form, kind, value});
}

void LinePiece::AddValue(std::size_t col, std::string_view value, const LineRules& rules) {
    if (!rules.isUtf8 && (HasHighBytes(value) || value.find('\0') != std::string_view::npos)) {
        AddOther(col, Other::Unlooked, value);
        return;
    }
    AddOther(col, Other::Value, value, static_cast<std::uint32_t>(forms.size()));
    forms.push_back(GetFieldForm(value, rules.dateOrder));
}

void LinePiece::DropRow() {
    for (Column& column : columns) {
        if (!column.others.empty() && column.others.back().row == rows) {
            column.others.pop_back();
        }
    }
}
