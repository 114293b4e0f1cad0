#pragma once

#include <string_view>

#include "frame/CellOutput.h"
#include "text/ColumnTypes.h"
#include "text/FieldForm.h"
#include "text/PlainNumber.h"

// What becomes of a field whose column's type takes it.

/** The cell of a field whose form is one of those that the type accepts, with its characters where its value
 * would be written with others. */
void PutTypedField(const ColumnType& type, const FieldForm& form, std::string_view value, CellOutput& output,
                   int col, int row);

/**
 * Of a field of a column of numbers, at the front of [at, end), that is a plain number, as most are: what is
 * behind it, and its form. Null for any other. Bytes up to `readable` may be looked at.
 */
inline const char* TakePlainNumber(const char* at, const char* end, const char* readable, char delimiter,
                                   const ColumnType& type, FieldForm& form) {
    const PlainNumber plain({at, static_cast<std::size_t>(end - at)}, readable);
    const char* const behind = plain.GetEnd();
    if (!plain.IsThere() || (behind != end && *behind != delimiter)) {
        return nullptr;
    }
    form = plain.GetForm();
    if (!form.hasNumber || (form.bits & ~type.accepted) != 0 ||
        (type.decimalMark != '.' && form.bits != FieldForm::Integer)) {
        return nullptr;
    }
    return behind;
}
