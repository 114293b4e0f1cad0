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
 * Of a field of a column of numbers, at the front of a text, that is a plain number, as most are: what is
 * behind it, where `isEnd` says that the field ends there, and its form. Null for any other. Bytes up to
 * `readable` may be looked at.
 */
template <class IsEnd>
const char* TakePlainNumber(std::string_view text, const char* readable, const ColumnType& type, IsEnd isEnd,
                            FieldForm& form) {
    const PlainNumber plain(text, readable);
    const char* const behind = plain.GetEnd();
    if (!plain.IsThere() || !isEnd(behind)) {
        return nullptr;
    }
    form = plain.GetForm();
    if (!form.hasNumber || (form.bits & ~type.accepted) != 0 ||
        (type.decimalMark != '.' && form.bits != FieldForm::Integer)) {
        return nullptr;
    }
    return behind;
}

/** The same at the front of [at, end), up to a delimiter. */
inline const char* TakePlainNumber(const char* at, const char* end, const char* readable, char delimiter,
                                   const ColumnType& type, FieldForm& form) {
    return TakePlainNumber(
        {at, static_cast<std::size_t>(end - at)}, readable, type,
        [=](const char* place) { return place == end || *place == delimiter; }, form);
}
