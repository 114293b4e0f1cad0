#include "text/TypedField.h"

#include <cstdint>

namespace {

constexpr std::int64_t MicrosecondsOfDay = std::int64_t{86'400} * 1'000'000;

void PutNumber(const ColumnType& type, const FieldForm& form, std::string_view value, CellOutput& output,
               int col, int row) {
    const char mark = type.decimalMark;
    bool isCanonical = form.isCanonical;
    if ((form.bits & FieldForm::Numbers) == 0) {
        output.Missing(col, row);
    } else if (form.bits == FieldForm::WideInteger) {
        output.Integer(col, row, form.integer);
    } else if (form.hasNumber && (mark == '.' || form.bits == FieldForm::Integer)) {
        output.Number(col, row, form.number);
    } else {
        // What would be 1.234 with another mark is 1234.
        output.Number(col, row, GetNumber(value, mark));
        isCanonical = false;
    }
    if (!isCanonical) {
        output.Source(col, row, value);
    }
}

}  // namespace

void PutTypedField(const ColumnType& type, const FieldForm& form, std::string_view value, CellOutput& output,
                   int col, int row) {
    switch (type.kind) {
        case ColumnType::Bool:
            output.Bool(col, row, form.integer != 0);
            break;
        case ColumnType::Date:
            output.Date(col, row, static_cast<std::int32_t>(form.integer));
            break;
        case ColumnType::Time:
            output.Time(col, row, form.integer);
            break;
        case ColumnType::DateTime:
            output.DateTime(
                col, row,
                (form.bits & FieldForm::Date) != 0 ? form.integer * MicrosecondsOfDay : form.integer);
            break;
        case ColumnType::Number:
        case ColumnType::Empty:
        case ColumnType::Text:
            PutNumber(type, form, value, output, col, row);
            return;
    }
    const bool isDateInDateTimes = (form.bits & FieldForm::Date) != 0 && type.kind == ColumnType::DateTime;
    if (form.bits == FieldForm::Nothing) {
        output.Missing(col, row);
    }
    if (!form.isCanonical || isDateInDateTimes) {
        output.Source(col, row, value);
    }
}
